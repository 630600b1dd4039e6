// Random interleavings of refreshes, cancels, account edits, preference changes and engine
// destruction against a loopback server that answers after random delays. Under ASan this is
// what shows that no cycle or load resumes into freed memory.
#include "EngineFixture.h"

#include <random>

using namespace Qt::StringLiterals;
using namespace StripeBodies;

class RefreshStress : public EngineFixture
{
protected:
    std::mt19937 random{20261123};
    int pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); }

    static void runEventsFor(int ms)
    {
        QElapsedTimer timer;
        timer.start();
        do
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        while (timer.elapsed() < ms);
    }

    QByteArray bodyFor(const RecordedRequest &r)
    {
        const qint64 now = static_cast<qint64>(clock->now().unixSeconds());
        const QString tag = QString::number(pick(6));
        if (r.path == "/v1/oauth2/token")
            return R"({"access_token":"A21","token_type":"Bearer","expires_in":32400})";
        if (r.path == "/v1/account") // a web site, so the icon cache goes on to fetch an icon
            return R"({"id":"acct_1","business_profile":{"url":"https://example.com"}})";
        if (r.path == "/v1/reporting/transactions")
            return R"({"transaction_details":[],"page":1,"total_items":0,"total_pages":1})";
        if (r.path == "/v1/invoice_payments")
            return page({QJsonObject{{"id"_L1, QString(u"inpay_"_s + tag)}, {"invoice"_L1, QString(u"in_"_s + tag)},
                                     {"status"_L1, "paid"_L1},
                                     {"payment"_L1, QJsonObject{{"type"_L1, "payment_intent"_L1},
                                                                {"payment_intent"_L1, QString(u"pi_"_s + tag)}}}}},
                        false, u"/v1/invoice_payments"_s);
        const QString type = r.query(u"type"_s);
        if (type == u"invoice.payment_succeeded"_s)
            return page({paidInvoice(u"evt_i"_s + tag, now - 60, {.id = u"in_"_s + tag, .created = now - 60},
                                     Shape::Current)},
                        false);
        if (type == u"charge.succeeded"_s)
            return page({succeededCharge(u"evt_c"_s + tag, now - 50,
                                         {.id = u"ch_"_s + tag, .created = now - 50, .paymentIntent = u"pi_"_s + tag},
                                         Shape::Current)},
                        false);
        return page({}, false);
    }
};

TEST_F(RefreshStress, RandomInterleavingsApplyOneResultPerCycleAndKeepTheFeedFileWhole)
{
    // The one loopback server answers for Stripe, PayPal and the icon sources alike.
    stripe.setFallback([this](const RecordedRequest &r) {
        FakeResponse answer = pick(10) == 0 ? FakeResponse::json(500, "{}") : FakeResponse::json(200, bodyFor(r));
        // Mostly near-simultaneous answers, so loads finish in the same turn of the event loop.
        answer.delayMs = pick(4) == 0 ? pick(40) : pick(4);
        return answer;
    });
    const QList<Account> pool{stripeAccount(u"A %2"_s, u"rk_a"_s), stripeAccount(u"B"_s, u"rk_b"_s),
                              stripeAccount(u"C"_s, u"rk_c"_s), stripeAccount(u"D"_s, u"rk_d"_s),
                              paypalAccount(u"Shop %1"_s)};
    ASSERT_TRUE(storage().saveAccounts(pool));
    EngineEnvironment env = environment(true);
    env.endpoints.paypalLive = env.endpoints.paypalSandbox = stripe.baseUrl();
    env.endpoints.icons = {.duckDuckGo = stripe.baseUrl(), .google = stripe.baseUrl(), .siteOverride = stripe.baseUrl(),
                           .allowPlainHttp = true};

    int appliedThisCycle = 0, applied = 0, cycles = 0;
    const auto startEngine = [&] {
        RevenueEngine *e = &start(env);
        appliedThisCycle = 0; // its first cycle started before anyone could watch
        cycles += e->isLoading();
        QObject::connect(e, &RevenueEngine::isLoadingChanged, e, [&, e] {
            if (e->isLoading())
                appliedThisCycle = 0, ++cycles;
        });
        // Every apply stamps lastRefreshed, and the clock moves on every round.
        QObject::connect(e, &RevenueEngine::lastRefreshedChanged, e, [&, e] {
            ++applied;
            EXPECT_TRUE(e->isLoading()) << "a cancelled or superseded cycle applied its results";
            EXPECT_EQ(++appliedThisCycle, 1) << "two results applied in one cycle";
        });
    };
    startEngine();

    for (int round = 0; round < 300; ++round) {
        switch (pick(8)) {
        case 0: engine->triggerRefresh(); break;
        case 1: engine->cancelCurrentRefresh(); break;
        case 2: engine->upsertAccount(pool[pick(pool.size())]); break;
        case 3: engine->removeAccount(pool[pick(pool.size())]); break;
        case 4: {
            Preferences p = engine->preferences();
            p.showFailed = pick(2);
            p.showRefunds = pick(2);
            p.refreshSeconds = 15 + pick(30);
            engine->setPreferences(p);
            break;
        }
        case 5: engine.reset(); startEngine(); break;
        case 6: clock->advance(pick(40)); break;
        default: break;
        }
        clock->set(clock->now().addingSeconds(0.25));
        runEventsFor(pick(12));
        const QList<PaymentEvent> &feed = engine->feed();
        ASSERT_EQ(storage().loadFeed(), feed) << "round " << round;
        for (qsizetype i = 1; i < feed.size(); ++i)
            ASSERT_GE(feed[i - 1].date, feed[i].date);
    }
    engine.reset();
    runEventsFor(300); // whatever was in flight ends on its own, touching nothing freed
    EXPECT_GT(applied, 10);
    EXPECT_GE(cycles, applied);
}
