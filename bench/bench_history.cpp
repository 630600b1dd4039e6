// Best records and the per-customer drill-down over 100 000 events spread over 90 days.
#include "engine/BestRecords.h"
#include "engine/DrillDown.h"

#include <benchmark/benchmark.h>

namespace {

constexpr int eventCount = 100'000;

QList<PaymentEvent> makeFeed(Date now)
{
    QList<PaymentEvent> feed;
    feed.reserve(eventCount);
    const RevenueKind kinds[] = {RevenueKind::New, RevenueKind::Recurring, RevenueKind::Churn};
    for (int i = 0; i < eventCount; ++i) {
        PaymentEvent e;
        e.id = QStringLiteral("ev_%1").arg(i);
        e.date = now.addingSeconds(-i * 77.0); // newest first, about 90 days
        e.amount = 19 + i % 200;
        e.currency = QStringLiteral("usd");
        e.usdAmount = e.amount;
        e.accountName = QStringLiteral("Main");
        e.kind = kinds[i % 3];
        e.description = QStringLiteral("Pro plan");
        // 5 000 customers, a few with no e-mail, some in other letter cases.
        if (i % 50 != 0)
            e.customerEmail = (i % 7 ? QStringLiteral("customer%1@example.com") : QStringLiteral("Customer%1@Example.com"))
                                  .arg(i % 5000);
        feed.append(std::move(e));
    }
    return feed;
}

const Date now = Date::fromUnix(1'795'262'400);
const TimeContext calendar(QTimeZone(QByteArrayLiteral("Europe/Berlin")), Qt::Monday);

void BM_BestRecords(benchmark::State &state)
{
    const QList<PaymentEvent> feed = makeFeed(now);
    for (auto _ : state)
        benchmark::DoNotOptimize(BestRecords::compute(feed, calendar));
}
BENCHMARK(BM_BestRecords)->Unit(benchmark::kMillisecond);

// What opening a tile's drill-down costs: the 90-day selection of one kind (a third of the
// feed) grouped per customer, with the customer index the view keeps until the feed changes.
void BM_DrillDown(benchmark::State &state)
{
    const QList<PaymentEvent> feed = makeFeed(now);
    const DrillDown::CustomerIndex customers = DrillDown::customerIndex(feed);
    const DrillDown::Selection selection{RevenueKind::Recurring, now.addingSeconds(-91 * 86400.0), now, std::nullopt};
    for (auto _ : state) {
        const QList<CustomerGroup> groups = DrillDown::groups(feed, customers, DrillDown::events(feed, selection));
        benchmark::DoNotOptimize(groups.size());
    }
}
BENCHMARK(BM_DrillDown)->Unit(benchmark::kMillisecond);

// What a feed change costs the drill-down once, before any tile is opened.
void BM_CustomerIndex(benchmark::State &state)
{
    const QList<PaymentEvent> feed = makeFeed(now);
    for (auto _ : state)
        benchmark::DoNotOptimize(DrillDown::customerIndex(feed).customerCount);
}
BENCHMARK(BM_CustomerIndex)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
