#include "core/engine/EngineFixture.h"

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

    // A sale made a minute later shows up in the next cycle.
    const qsizetype before = engine->feed().size();
    clock->advance(30 * 60);
    QCoro::waitFor(engine->refresh());
    EXPECT_GT(engine->feed().size(), before);
}
