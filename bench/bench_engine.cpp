// Engine hot paths at 100 000 events: merge + bucket rebuild, and what the dashboard asks
// after a filter or range change (totals and the filtered feed).
#include "BenchRuns.h"
#include "engine/RevenueEngine.h"
#include "engine/StripeClassifier.h"
#include "stripe/RequestBudget.h"
#include "support/FakeHttpServer.h"
#include "support/StripeBodies.h"
#include "support/StripeListing.h"
#include "support/VirtualClock.h"

#include <QCoroTask>
#include <QElapsedTimer>

#include <QCoreApplication>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <cstdlib>

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
        if (!storage.saveFeed(makeEvents(clock->now(), eventCount, "ev_")))
            std::abort();
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
        QList<PaymentEvent> merged = FeedStore::merge(feed, fresh, f.clock->now().addingSeconds(-95 * 86400.0));
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

// Classification of 100 000 decoded invoices, then the merge into a 100 000-event feed and
// the bucket rebuild that follow a refresh.
void BM_ClassifyMergeRebuild(benchmark::State &state)
{
    Fixture &f = fixture();
    Account account = Account::newAccount(AccountProvider::Stripe);
    account.name = QStringLiteral("Main");
    QList<RawInvoice> invoices;
    invoices.reserve(eventCount);
    const qint64 now = static_cast<qint64>(f.clock->now().unixSeconds());
    for (int i = 0; i < eventCount; ++i) {
        RawInvoice inv;
        inv.id = QStringLiteral("in_%1").arg(i);
        inv.amount_paid = 1900 + i % 5000;
        inv.currency = i % 4 ? QStringLiteral("usd") : QStringLiteral("eur");
        inv.created = now - (i % (90 * 1440)) * 60;
        inv.billing_reason = i % 7 ? QStringLiteral("subscription_cycle") : QStringLiteral("subscription_create");
        inv.customer_email = QStringLiteral("customer%1@example.com").arg(i);
        inv.charge = QStringLiteral("ch_%1").arg(i);
        inv.lines = RawInvoice::InvoiceLines{{RawInvoice::InvoiceLine{QStringLiteral("1 × Pro (at $19.00 / month)")}}};
        invoices.append(std::move(inv));
    }
    const QList<PaymentEvent> feed = f.engine->feed();
    for (auto _ : state) {
        QList<PaymentEvent> events;
        events.reserve(invoices.size());
        for (const RawInvoice &inv : std::as_const(invoices))
            events.append(StripeClassifier::fromPaidInvoice(inv, account));
        QList<PaymentEvent> merged = FeedStore::merge(feed, events, f.clock->now().addingSeconds(-95 * 86400.0));
        benchmark::DoNotOptimize(merged.data());
    }
    f.engine->rebuildBucketsFromFeed();
    state.counters["us_per_event"] = benchmark::Counter(static_cast<double>(state.iterations()) * eventCount,
                                                        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_ClassifyMergeRebuild)->Unit(benchmark::kMillisecond);

// A first refresh of one account whose five event queries hold 10 000 events in all, served
// page by page from a loopback server, with the invoice payments of its 2 000 invoices. A live
// key on the real clock: the request budget paces the pages as it does for a user.
void BM_BootstrapRefreshFromLoopback(benchmark::State &state)
{
    using namespace StripeBodies;
    constexpr int perType = 2000;
    FakeHttpServer server;
    auto clock = std::make_shared<SystemClock>();
    const qint64 now = static_cast<qint64>(clock->now().unixSeconds());
    // Answered as Stripe answers, within the created bounds of each query: the engine pages a
    // long listing in time slices side by side.
    StripeListing listing;
    for (int i = 0; i < perType; ++i) {
        const qint64 t = now - 3600 - i * 600;
        const auto id = [i](const char *prefix) -> QString { return QString::fromLatin1(prefix) + QString::number(i); };
        const auto add = [&](const char *eventId, const char *type, const QJsonObject &object) {
            listing.add(event(id(eventId), QString::fromLatin1(type), t, object, Shape::Legacy));
        };
        add("evt_i", "invoice.payment_succeeded",
            invoice({.id = id("in_"), .created = t, .charge = id("ch_i")}, Shape::Legacy));
        add("evt_c", "charge.succeeded", charge({.id = id("ch_"), .created = t, .invoice = QString()}, Shape::Legacy));
        add("evt_d", "customer.subscription.deleted", subscription({.id = id("sub_")}, Shape::Legacy));
        add("evt_f", "invoice.payment_failed",
            invoice({.id = id("in_f"), .amountPaid = 0, .created = t}, Shape::Legacy));
        add("evt_r", "charge.refunded",
            charge({.id = id("ch_r"), .amountRefunded = 500, .created = t, .invoice = QString()}, Shape::Legacy));
        // Listed without a type, as the invoice payments are asked for.
        listing.add(QJsonObject{
            {QStringLiteral("id"), id("inpay_")},
            {QStringLiteral("invoice"), id("in_")},
            {QStringLiteral("status"), QStringLiteral("paid")},
            {QStringLiteral("created"), double(t)},
            {QStringLiteral("payment"), QJsonObject{{QStringLiteral("type"), QStringLiteral("payment_intent")},
                                                    {QStringLiteral("payment_intent"), id("pi_i")}}}});
    }
    listing.finish();
    const auto serve = [&](const RecordedRequest &r) {
        auto [status, body] = listing.answer(r.queryItems());
        return FakeResponse::json(status, std::move(body));
    };
    server.setHandler("GET", "/v1/events", serve);
    server.setHandler("GET", "/v1/invoice_payments", serve);

    for (auto _ : state) {
        QTemporaryDir dir;
        Storage storage(dir.path());
        Account account = Account::newAccount(AccountProvider::Stripe);
        account.name = QStringLiteral("Main");
        account.stripeRestrictedKey = QStringLiteral("rk_live_bench");
        Preferences prefs = Preferences::defaults(clock->now(), TimeContext());
        prefs.showRefunds = true;
        if (!storage.saveAccounts({account}) || !storage.savePreferences(prefs))
            std::abort();
        EngineEnvironment env;
        env.storage = storage;
        env.clock = clock;
        env.startLoops = false;
        env.endpoints.stripeApi = server.baseUrl();
        env.endpoints.icons.enabled = false;
        RevenueEngine engine(env);
        server.clearRecords();
        QElapsedTimer wall;
        wall.start();
        QCoro::waitFor(engine.refresh());
        const double seconds = wall.nsecsElapsed() / 1e9;
        state.SetIterationTime(seconds);
        state.counters["requests"] = static_cast<double>(server.requests().size());
        state.counters["requests_per_s"] = server.requests().size() / seconds;
        state.counters["feed_events"] = static_cast<double>(engine.feed().size());
        state.counters["budget_per_s"] = RequestBudget::liveRequestsPerSecond;
    }
}
BENCHMARK(BM_BootstrapRefreshFromLoopback)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->Apply(BenchRuns::onceWhenSmoke);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
