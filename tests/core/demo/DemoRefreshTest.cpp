#include "core/engine/EngineFixture.h"
#include "demo/DemoBusiness.h"

#include <QCoroTask>

using namespace Qt::StringLiterals;

using DemoRefresh = EngineFixture;

TEST_F(DemoRefresh, RunsWithoutTheNetwork)
{
    // Every provider endpoint is a closed loopback port: one request would fail the load.
    EngineEnvironment env = environment();
    env.endpoints.stripeApi = QUrl(u"http://127.0.0.1:9"_s);
    env.endpoints.paypalLive = env.endpoints.paypalSandbox = env.endpoints.stripeApi;
    engine = std::make_unique<RevenueEngine>(env);
    engine->addDemoAccount();
    engine->addDemoAccount(); // one demo business is enough
    ASSERT_EQ(engine->accounts().size(), 1);
    QCoro::waitFor(engine->refresh());

    EXPECT_FALSE(engine->lastError()) << engine->lastError().value_or(QString()).toStdString();
    EXPECT_EQ(engine->unavailableKinds(), QSet{RevenueKind::Refund}); // refunds are off by default
    const Totals month = engine->totals(TimeRange::Last30Days);
    EXPECT_GT(month.newMRR, 1000);
    EXPECT_GT(month.recurringMRR, month.newMRR);
    EXPECT_GT(month.churn, 0);

    // A sale made while the app runs shows up in the next cycle. Whether a few minutes hold
    // one is up to the account's random seed, so the demo's own schedule says how far to go.
    const DemoBusiness business(DemoBusiness::seedFor(engine->accounts().constFirst().id));
    const qint64 start = clock->now().unixSecondsTruncated();
    qint64 later = start;
    while (business.activity(start + 1, later).charges.isEmpty() && later < start + 86400)
        later += DemoBusiness::liveSlotSeconds;
    ASSERT_LT(later, start + 86400) << "no charge in a day";
    const qsizetype before = engine->feed().size();
    clock->advance(double(later - start));
    QCoro::waitFor(engine->refresh());
    EXPECT_GT(engine->feed().size(), before);
}
