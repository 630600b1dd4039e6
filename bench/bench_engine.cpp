// Engine hot paths at 100 000 events: merge + bucket rebuild, and what the dashboard asks
// after a filter or range change (totals and the filtered feed).
#include "engine/RevenueEngine.h"
#include "support/VirtualClock.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

namespace {

constexpr int eventCount = 100'000;
const QUuid accountA = QUuid::fromString(QStringLiteral("11111111-1111-1111-1111-111111111111"));
const QUuid accountB = QUuid::fromString(QStringLiteral("22222222-2222-2222-2222-222222222222"));

QList<PaymentEvent> makeEvents(Date now, int count, const char *prefix)
{
    QList<PaymentEvent> events;
    events.reserve(count);
    const RevenueKind kinds[] = {RevenueKind::New, RevenueKind::Recurring, RevenueKind::Recurring, RevenueKind::Churn,
                                 RevenueKind::Failed, RevenueKind::Refund};
    for (int i = 0; i < count; ++i) {
        PaymentEvent e;
        e.id = QString::fromLatin1(prefix) + QString::number(i);
        e.date = now.addingSeconds(-(i % (90 * 86400 / 60)) * 60.0 - 30); // spread over 90 days
        e.amount = 19 + i % 200;
        e.currency = QStringLiteral("usd");
        e.usdAmount = e.amount;
        e.accountId = i % 3 ? accountA : accountB;
        e.accountName = QStringLiteral("Main");
        e.kind = kinds[i % 6];
        e.description = QStringLiteral("Pro plan");
        e.customerEmail = QStringLiteral("customer%1@example.com").arg(i);
        events.append(std::move(e));
    }
    return events;
}

struct Fixture
{
    QTemporaryDir dir;
    std::shared_ptr<VirtualClock> clock = std::make_shared<VirtualClock>();
    std::unique_ptr<RevenueEngine> engine;

    Fixture()
    {
        Storage storage(dir.path());
        storage.saveFeed(makeEvents(clock->now(), eventCount, "ev_"));
        EngineEnvironment env;
        env.storage = storage;
        env.clock = clock;
        env.calendar = TimeContext(QTimeZone(QByteArrayLiteral("Europe/Berlin")), Qt::Monday);
        env.startLoops = false;
        engine = std::make_unique<RevenueEngine>(env);
    }
};

Fixture &fixture()
{
    static Fixture f;
    return f;
}

void BM_MergeAndRebuildBuckets(benchmark::State &state)
{
    Fixture &f = fixture();
    const QList<PaymentEvent> feed = f.engine->feed();
    // A refresh whose new events overlap the stored feed by half.
    const QList<PaymentEvent> fresh = makeEvents(f.clock->now(), eventCount, "ev_").mid(0, eventCount / 2)
        + makeEvents(f.clock->now(), eventCount / 2, "new_");
    for (auto _ : state) {
        QList<PaymentEvent> merged = RevenueEngine::mergeIntoFeed(feed, fresh, f.clock->now().addingSeconds(-95 * 86400.0));
        benchmark::DoNotOptimize(merged.data());
    }
    state.counters["us_per_event"] = benchmark::Counter(static_cast<double>(state.iterations()) * eventCount,
                                                        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_MergeAndRebuildBuckets)->Unit(benchmark::kMillisecond);

void BM_RebuildBuckets(benchmark::State &state)
{
    Fixture &f = fixture();
    for (auto _ : state)
        f.engine->rebuildBucketsFromFeed();
    state.counters["us_per_event"] = benchmark::Counter(static_cast<double>(state.iterations()) * eventCount,
                                                        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_RebuildBuckets)->Unit(benchmark::kMillisecond);

void BM_TotalsAndFeedAfterFilterChange(benchmark::State &state)
{
    Fixture &f = fixture();
    bool flip = false;
    for (auto _ : state) {
        flip = !flip;
        f.engine->setSelectedAccountFilter(flip ? std::optional<QUuid>(accountA) : std::nullopt);
        const Totals t = f.engine->totals(TimeRange::Last30Days);
        const QList<qsizetype> visible = f.engine->filteredFeedIndices();
        benchmark::DoNotOptimize(t);
        benchmark::DoNotOptimize(visible.size());
    }
    f.engine->setSelectedAccountFilter(std::nullopt);
}
BENCHMARK(BM_TotalsAndFeedAfterFilterChange)->Unit(benchmark::kMillisecond);

// The same with a full copy of the filtered events, for comparison.
void BM_FilteredFeedCopy(benchmark::State &state)
{
    Fixture &f = fixture();
    f.engine->setSelectedAccountFilter(accountA);
    for (auto _ : state)
        benchmark::DoNotOptimize(f.engine->filteredFeed().size());
    f.engine->setSelectedAccountFilter(std::nullopt);
}
BENCHMARK(BM_FilteredFeedCopy)->Unit(benchmark::kMillisecond);

void BM_TotalsAfterRangeChange(benchmark::State &state)
{
    Fixture &f = fixture();
    f.engine->setSelectedAccountFilter(accountB);
    int i = 0;
    for (auto _ : state) {
        const auto range = allCases<TimeRange>()[i++ % 5];
        benchmark::DoNotOptimize(f.engine->totals(range));
        benchmark::DoNotOptimize(f.engine->buckets(range).size());
    }
    f.engine->setSelectedAccountFilter(std::nullopt);
}
BENCHMARK(BM_TotalsAfterRangeChange)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
