// What a response near the 32 MB cap costs in memory: a ~30 MB subscription page fetched
// and decoded, then dropped. Reports resident memory before, right after and once the
// result is gone (rss_* counters, MB); `trimmed` is after handing free heap back to the
// system, which shows what the allocator keeps rather than what the program holds.
#include "BenchRuns.h"
#include "stripe/StripeClient.h"
#include "support/FakeHttpServer.h"
#include "support/StripeBodies.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QFile>
#include <benchmark/benchmark.h>
#ifdef __GLIBC__
#include <malloc.h>
#endif

using namespace Qt::StringLiterals;

namespace {

template<typename T>
QCoro::Task<> storeInto(QCoro::Task<T> task, std::optional<T> &out)
{
    out.emplace(co_await std::move(task));
}

double residentMB()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024.0;
    return 0;
}

QByteArray thirtyMegabytePage()
{
    QJsonArray data;
    QJsonObject sub = StripeBodies::subscription({}, StripeBodies::Shape::Current);
    sub.insert(u"description"_s, QString(6500, u'x'));
    for (int i = 0; i < 4500; ++i) {
        sub.insert(u"id"_s, u"sub_%1"_s.arg(i));
        data.append(sub);
    }
    return StripeBodies::page(data, false, u"/v1/subscriptions"_s);
}

void BM_LargeBody(benchmark::State &state)
{
    FakeHttpServer server;
    const QByteArray body = thirtyMegabytePage();
    server.setHandler("GET", "/v1/subscriptions", [&](const RecordedRequest &) { return FakeResponse::json(200, body); });
    Account account = Account::newAccount(AccountProvider::Stripe);
    account.stripeRestrictedKey = u"rk_test_1"_s;
    const StripeClient client(account, server.baseUrl());
    const double before = residentMB();
    double during = 0;
    for (auto _ : state) {
        std::optional<Result<QList<ExpandedSubscription>, StripeError>> result;
        QCoro::waitFor(storeInto(client.fetchSubscriptionsByStatus(u"active"_s), result));
        if (!result || !result->ok())
            state.SkipWithError("the page did not decode");
        during = std::max(during, residentMB());
    }
    state.counters["body_MB"] = body.size() / 1048576.0;
    state.counters["rss_before"] = before;
    state.counters["rss_with_result"] = during;
    state.counters["rss_after"] = residentMB();
#ifdef __GLIBC__
    malloc_trim(0);
    state.counters["rss_trimmed"] = residentMB();
#endif
}
BENCHMARK(BM_LargeBody)->Iterations(3)->Unit(benchmark::kMillisecond)->Apply(BenchRuns::onceWhenSmoke);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
