// Long listings paged in slices side by side, within the account's request budget, waiting out Stripe's rate limit.
#include "StripeClientFixture.h"
#include "stripe/ListingSlices.h"
#include "support/StripeListing.h"
#include "support/TestUtil.h"
#include "support/VirtualClock.h"
#include "net/Http.h"

#include <QElapsedTimer>
#include <QScopeGuard>

using namespace Qt::StringLiterals;
using ListingSlices::Slice;

TEST(ListingSlicesTest, SplitCoversTheWindowNewestFirst)
{
    // name, window from and to, slice count, the slices expected
    const std::tuple<const char *, qint64, qint64, int, QList<Slice>> cases[] = {
        {"empty window", 100, 99, 4, {}},
        {"one huge slice", 0, 2'591'999, 1, {{0, 2'591'999}}},
        {"uneven split gives the newest slices the extra seconds", 0, 9, 3, {{6, 9}, {3, 5}, {0, 2}}},
        {"more slices than seconds", 10, 11, 5, {{11, 11}, {10, 10}}},
    };
    for (const auto &[name, from, to, count, expected] : cases)
        EXPECT_EQ(ListingSlices::split(from, to, count), expected) << name;
}

TEST(ListingSlicesTest, SliceCountFollowsTheFirstPagesDensity)
{
    // name, the first page's count and newest and oldest times, window start, slice count
    const std::tuple<const char *, ListingSlices::FirstPage, qint64, int> cases[] = {
        {"short page", {60, 1000, 100}, 0, 1},
        {"100 a day over 29 more days", {100, 30 * 86400, 29 * 86400 + 1}, 0, 24},
        {"100 a day over 3 more days", {100, 4 * 86400, 3 * 86400 + 1}, 0, 4},
        {"a burst within one second", {100, 5000, 5000}, 0, 24},
        {"nothing left before the page", {100, 5000, 4000}, 4000, 1},
    };
    for (const auto &[name, first, windowStart, expected] : cases)
        EXPECT_EQ(ListingSlices::sliceCount(first, windowStart), expected) << name;
}

TEST(ListingSlicesTest, MergeKeepsOrderAndDropsRepeatsAcrossEdges)
{
    using Part = ListingSlices::Part<int>;
    const QList<Part> parts{{{u"a"_s, u"b"_s}, {1, 2}}, {}, {{u"b"_s, u"c"_s}, {20, 3}}, {{u"d"_s}, {4}}};
    EXPECT_EQ(ListingSlices::merge(parts), (QList<int>{1, 2, 3, 4}));
    EXPECT_TRUE(ListingSlices::merge(QList<Part>{{}, {}}).isEmpty());
}

namespace {

// Keeps a task's result where the test can look while it drives the clock.
template<typename T>
QCoro::Task<> storeInto(QCoro::Task<T> task, std::optional<T> &out)
{
    out.emplace(co_await std::move(task));
}

// The most starts within any one second, the second starting at a start.
int busiestSecond(const QList<double> &starts)
{
    int most = 0;
    for (qsizetype i = 0; i < starts.size(); ++i)
        most = std::max(most, int(std::count_if(starts.begin(), starts.end(),
                                                [&](double t) { return t >= starts[i] && t < starts[i] + 1.0; })));
    return most;
}

QCoro::Task<> noteStart(std::shared_ptr<RequestBudget> budget, CancellationToken token, int request,
                        QList<std::pair<int, double>> &starts)
{
    const bool started = co_await budget->acquire(token);
    if (started)
        starts.append({request, budget->clock()->monotonicSeconds()});
}

// Refund events over a month; every tenth second holds three events, so page and slice
// edges fall inside seconds that hold more than one.
StripeListing refunds(int count)
{
    StripeListing listing;
    for (int i = 0; i < count; ++i) {
        const qint64 created = 1'795'000'000 + qint64(i / 3) * 7919;
        listing.add(StripeBodies::event(u"evt_%1"_s.arg(i, 5, 10, QChar(u'0')), u"charge.refunded"_s, created,
                                        StripeBodies::charge({.id = u"ch_%1"_s.arg(i)}, StripeBodies::Shape::Legacy),
                                        StripeBodies::Shape::Legacy));
    }
    listing.finish();
    return listing;
}

} // namespace

TEST_F(StripeClientTest, SlicesStopWhenOneFailsOrTheCallerCancels)
{
    const StripeListing listing = refunds(3000); // 24 slices of two pages
    CancellationToken token;
    const std::tuple<const char *, bool, StripeError::Kind> cases[] = {
        {"a slice answered 500", false, StripeError::Kind::Http}, {"cancelled mid-way", true, StripeError::Kind::Cancelled}};
    for (const auto &[name, cancel, kind] : cases) {
        SCOPED_TRACE(name);
        server.clearRecords();
        server.setHandler("GET", "/v1/events", [&](const RecordedRequest &r) {
            if (server.requests().size() == 2) { // the first slice to ask
                if (cancel)
                    token.cancel();
                else
                    return FakeResponse::json(500, R"({"error":{"message":"boom"}})");
            }
            const auto [status, body] = listing.answer(r.queryItems());
            FakeResponse answer = FakeResponse::json(status, body);
            // The other slices' first pages come after the failure is in, whatever the load.
            answer.delayMs = server.requests().size() > 2 ? 300 : 0;
            return answer;
        });
        const auto result = run(client().fetchRefunds(Date::fromUnix(1'795'000'000), token));
        ASSERT_FALSE(result.ok());
        EXPECT_EQ(result.error().kind(), kind);
        // The slices already asked answer; none asks for its next page.
        EXPECT_LE(server.requests().size(), 1 + ListingSlices::maxSlices);
    }
}

TEST_F(StripeClientTest, RequestsKeepToTheBudgetAndWaitOutRateLimits)
{
    auto clock = std::make_shared<VirtualClock>();
    const auto waitForRequests = [&](int n) { return waitUntil([&] { return server.requests().size() >= n; }, 3000); };
    const QByteArray emptyPage = StripeBodies::page({}, false);

    // A shorter pause asked for later leaves the longer one standing.
    RequestBudget paused(0, clock);
    paused.pause(10);
    paused.pause(2);
    std::optional<bool> acquired;
    auto acquiring = storeInto(paused.acquire({}), acquired);
    clock->advance(9.99);
    EXPECT_FALSE(acquired.has_value()) << "requests restarted before the longer pause was over";
    clock->advance(0.01);
    EXPECT_EQ(acquired, true);

    // Two starts in any 1 + spread seconds: the third request waits for its turn.
    server.setHandler("GET", "/v1/account", [](const RecordedRequest &) { return FakeResponse::json(200, "{}"); });
    const StripeClient budgeted(client().account(), server.baseUrl(), std::make_shared<RequestBudget>(2, clock));
    std::vector<std::optional<Result<StripeAccountInfo, StripeError>>> infos(3);
    std::vector<QCoro::Task<>> lookups;
    for (auto &info : infos)
        lookups.push_back(storeInto(budgeted.fetchAccountInfo(), info));
    ASSERT_TRUE(waitForRequests(2));
    // A real wait: a third request sent at once may take a few turns of the event loop to arrive.
    EXPECT_FALSE(waitUntil([&] { return server.requests().size() > 2; }, 300)) << "the third went out at once";
    clock->advance(1.0 + RequestBudget::arrivalSpread);
    ASSERT_TRUE(waitForRequests(3));

    // name, Retry-After, the waits (after each: one more request, the last one answered), the
    // error (none: success), the pause the account's next request waits out
    const QString limited = uR"(Stripe HTTP 429: {"error":{"type":"rate_limit_error"}})"_s;
    const std::tuple<const char *, QByteArray, QList<double>, QString, double> cases[] = {
        {"seconds", "7", {7.0}, {}, 0},
        {"no header: doubling waits, then the 429 stands", "", {1, 2, 4, 8}, limited, 0},
        {"longer than the wait allowed", "120", {}, u"Stripe HTTP 429: Stripe asked to wait 2 min"_s, 120},
        {"far longer: the pause is capped", "86400", {}, u"Stripe HTTP 429: Stripe asked to wait 1440 min"_s, 900},
    };
    for (const auto &[name, retryAfter, advances, error, pause] : cases) {
        const bool ok = error.isEmpty();
        SCOPED_TRACE(name);
        clock->advance(1.0 + RequestBudget::arrivalSpread); // the window is empty again
        server.clearRecords();
        server.setHandler("GET", "/v1/events", [&](const RecordedRequest &) {
            if (ok && server.requests().size() > 1)
                return FakeResponse::json(200, emptyPage);
            FakeResponse limited = FakeResponse::json(429, R"({"error":{"type":"rate_limit_error"}})");
            if (!retryAfter.isEmpty())
                limited.headers.append({"Retry-After", retryAfter});
            return limited;
        });
        std::optional<Result<QList<RefundEvent>, StripeError>> result;
        auto task = storeInto(budgeted.fetchRefunds(Date::fromUnix(1'795'000'000)), result);
        for (double seconds : advances) {
            ASSERT_TRUE(waitUntil([&] { return clock->sleepingCount() > 0; }, 3000));
            const qsizetype before = server.requests().size();
            clock->advance(seconds - 0.01);
            EXPECT_EQ(server.requests().size(), before);
            clock->advance(0.01);
            ASSERT_TRUE(waitForRequests(before + 1));
        }
        ASSERT_TRUE(waitUntil([&] { return result.has_value(); }, 3000));
        EXPECT_EQ(result->ok(), ok);
        if (!ok)
            EXPECT_EQ(result->error().description(), error);
        EXPECT_EQ(server.requests().size(), advances.size() + 1);
        std::optional<Result<StripeAccountInfo, StripeError>> next;
        auto nextTask = storeInto(budgeted.fetchAccountInfo(), next);
        VirtualClock::settle();
        if (pause > 0) // the account's next request waits the pause out
            EXPECT_NEAR(clock->requestedSleeps().last(), pause, 1e-9);
        clock->advance(pause + 1); // past the pause and the budget's second
        ASSERT_TRUE(waitUntil([&] { return next.has_value(); }, 3000));
    }
}

TEST(RequestBudget, WaitsOnTheMonotonicClockWhateverTheWallClockDoes)
{
    auto clock = std::make_shared<VirtualClock>();
    RequestBudget budget(1, clock);
    // name, the wall clock's step, a pause asked for before it
    const std::tuple<const char *, double, double> rows[] = {
        {"stepped back an hour", -3600, 0},
        {"stepped 400 days ahead", 400 * 86400.0, 0},
        {"stepped back during a pause", -3600, 5},
    };
    for (const auto &[name, step, pause] : rows) {
        SCOPED_TRACE(name);
        clock->advance(10); // a fresh second, no pause left
        std::optional<bool> spent;
        auto first = storeInto(budget.acquire({}), spent);
        VirtualClock::settle();
        ASSERT_EQ(spent, true);
        budget.pause(pause);
        clock->set(clock->now().addingSeconds(step));
        std::optional<bool> second;
        auto task = storeInto(budget.acquire({}), second);
        clock->advance(std::max(pause, 1.0 + RequestBudget::arrivalSpread) - 0.01);
        EXPECT_FALSE(second.has_value()) << "the next turn has not come";
        clock->advance(0.02);
        EXPECT_EQ(second, true);
    }
}

TEST(RequestBudget, NoWindowHoldsMoreTurnsThanTheRateAndTheyComeInTheOrderAsked)
{
    // requests per second, requests asked for at once, the one given up on while in line (-1: none)
    const std::tuple<int, int, int> rows[] = {{5, 12, -1}, {20, 45, 30}, {80, 170, 100}};
    for (const auto &[rate, count, givenUp] : rows) {
        SCOPED_TRACE(rate);
        auto clock = std::make_shared<VirtualClock>();
        const auto budget = std::make_shared<RequestBudget>(rate, clock);
        QList<std::pair<int, double>> starts;
        std::vector<CancellationToken> tokens(count);
        std::vector<QCoro::Task<>> waits;
        for (int i = 0; i < count; ++i)
            waits.push_back(noteStart(budget, tokens[i], i, starts));
        VirtualClock::settle();
        ASSERT_EQ(starts.size(), rate) << "a window's worth starts at once, the others wait";
        if (givenUp >= 0)
            tokens[givenUp].cancel();
        // A sleep begun while the clock advances ends at the advance's end: one window at a time.
        for (int window = 0; window * rate < count; ++window) {
            clock->advance(1.0 + RequestBudget::arrivalSpread);
            VirtualClock::settle();
        }
        ASSERT_EQ(starts.size(), count - (givenUp >= 0 ? 1 : 0));
        const double window = 1.0 + RequestBudget::arrivalSpread;
        QList<double> times;
        for (qsizetype i = 0; i < starts.size(); ++i) {
            times.append(starts[i].second);
            EXPECT_EQ(starts[i].first, i + (givenUp >= 0 && i >= givenUp ? 1 : 0)) << "out of order at " << i;
            if (i >= rate) // a request given up on holds no turn
                EXPECT_NEAR(starts[i].second - starts[i - rate].second, window, 1e-6) << i;
        }
        EXPECT_LE(busiestSecond(times), rate);
    }
}

TEST_F(StripeClientTest, NoSecondAtTheServerSeesMoreThanTheBudget)
{
    // Four connections, the first requests answered late: requests asked for meanwhile pile
    // up and must still reach the server one turn apart. Real time passes (about a second
    // per row); only the server's own count is checked.
    Http::setLanesPerHost(4);
    const auto restore = qScopeGuard([] { Http::setLanesPerHost(Http::sessionCount * Http::connectionsPerSession); });
    QElapsedTimer since;
    QList<double> arrivals;
    int lateAnswerMs = 0;
    server.setHandler("GET", "/v1/account", [&](const RecordedRequest &) {
        arrivals.append(double(since.nsecsElapsed()) / 1e9);
        FakeResponse answer = FakeResponse::json(200, "{}");
        answer.delayMs = arrivals.size() <= 4 ? lateAnswerMs : 0;
        return answer;
    });
    for (const char *key : {"rk_live_51Abc", "sk_test_51Abc"}) {
        SCOPED_TRACE(key);
        const int rate = RequestBudget::requestsPerSecondFor(QString::fromLatin1(key));
        lateAnswerMs = 15'750 / rate; // fifteen turns
        arrivals.clear();
        since.start();
        const StripeClient budgeted(client(QString::fromLatin1(key)).account(), server.baseUrl(),
                                    std::make_shared<RequestBudget>(rate, std::make_shared<SystemClock>()));
        std::vector<std::optional<Result<StripeAccountInfo, StripeError>>> infos(rate + 8);
        std::vector<QCoro::Task<>> lookups;
        for (auto &info : infos)
            lookups.push_back(storeInto(budgeted.fetchAccountInfo(), info));
        ASSERT_TRUE(waitUntil([&] { return std::all_of(infos.begin(), infos.end(), [](auto &i) { return i.has_value(); }); }));
        EXPECT_EQ(arrivals.size(), rate + 8);
        EXPECT_LE(busiestSecond(arrivals), rate);
    }
}
