#include "support/FakeHttpServer.h"
#include "support/TestUtil.h"
#include "support/VirtualClock.h"
#include "update/SemVer.h"
#include "update/UpdateChecker.h"

#include <QCoroTask>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(SemVer, ParsesAndOrdersLikeTheVersionFileMeansIt)
{
    const struct { const char *text; QList<qint64> components; } parses[] = {
        {"v1.4.2", {1, 4, 2}}, {"2.0-beta.3", {2, 0}}, {"1.x.3", {1, 0, 3}}, {"", {}}, {" V1.5.0-beta ", {1, 5, 0}},
        {"-rc1", {0}}, {"1..2.", {1, 2}}, {"99999999999999999999.1", {0, 1}}, {"v", {}}, {"1.-2", {1}},
    };
    for (const auto &row : parses)
        EXPECT_EQ(SemVer::parse(QString::fromUtf8(row.text)).components, row.components) << row.text;

    const struct { const char *a; const char *b; std::strong_ordering order; } orders[] = {
        {"1.2", "1.2.0", std::strong_ordering::equal}, {"1.10", "1.9", std::strong_ordering::greater},
        {"", "", std::strong_ordering::equal}, {"0.0.0", "0.0.1", std::strong_ordering::less},
        {"2", "1.99.99", std::strong_ordering::greater}, {"garbage", "0", std::strong_ordering::equal},
        {"1.2.0", "1.2.0.1", std::strong_ordering::less},
    };
    for (const auto &row : orders)
        EXPECT_EQ(SemVer::parse(QString::fromUtf8(row.a)) <=> SemVer::parse(QString::fromUtf8(row.b)), row.order)
            << row.a << " vs " << row.b;
}

TEST(RemoteVersionConfig, DecidesBlockedOrOptionalAndRejectsUnusableBodies)
{
    const struct { const char *current; const char *body; bool usable; bool blocked; bool optional; } rows[] = {
        {"1.4.2", R"({"latest_version":"1.6.0","minimum_version":"1.5","download_url":"https://x.dev/d"})", true, true, false},
        {"1.4.2", R"({"latest_version":"1.4.2","minimum_version":"1.0","download_url":"https://x.dev/d"})", true, false, false},
        {"1.5.0", R"({"latest_version":"1.6.0","minimum_version":"1.5","download_url":"u"})", true, false, true},
        {"1.4.2", R"({"latest_version":"v1.5.0-beta","minimum_version":"1.0","download_url":"u"})", true, false, true},
        {"2.0", R"({"latest_version":"1.0","minimum_version":"1.0","download_url":"u","force_update":true})", true, true, false},
        {"1.0", R"({"latest_version":"3","minimum_version":"2","download_url":"u","force_update":false})", true, true, false},
        {"1.2", R"({"latest_version":"1.2.0","minimum_version":"1","download_url":"u","release_notes":null,"x":[1]})", true, false, false},
        {"0.0.0", R"({"latest_version":"0.1","minimum_version":"0.0.1","download_url":"u"})", true, true, false},
        {"1.0", R"({"latest_version":"1.0","minimum_version":"1","download_url":"ftp://x.dev/d"})", true, false, false},
        {"1.0", R"({"latest_version":"2","download_url":"u"})", false, false, false},
        {"1.0", R"({"latest_version":2,"minimum_version":"1","download_url":"u"})", false, false, false},
        {"1.0", R"({"latest_version":"2","minimum_version":"1","download_url":"u","force_update":"yes"})", false, false, false},
        {"1.0", R"(["latest_version"])", false, false, false},
        {"1.0", "<html>502</html>", false, false, false},
    };
    for (const auto &row : rows) {
        const auto config = RemoteVersionConfig::decode(row.body);
        ASSERT_EQ(config.has_value(), row.usable) << row.body;
        if (!config)
            continue;
        const UpdateState state = updateStateFor(*config, QString::fromUtf8(row.current));
        EXPECT_EQ(state.isBlocked, row.blocked) << row.body;
        EXPECT_EQ(state.hasOptionalUpdate, row.optional) << row.body;
        EXPECT_EQ(state.downloadURL.has_value(), config->downloadUrl.startsWith(u"https://"_s)) << row.body;
    }
}

TEST(UpdateChecker, OnlyAGoodAnswerChangesTheState)
{
    FakeHttpServer web;
    const QByteArray blocking = R"({"latest_version":"1.6.0","minimum_version":"1.5","download_url":"https://x.dev/d",)"
                                R"("release_notes":"Faster sync","blocking_message":"Please update"})";
    const QByteArray optional = R"({"latest_version":"1.5.0","minimum_version":"1.0","download_url":"not a url"})";
    for (const FakeResponse &answer : {FakeResponse::json(200, blocking), FakeResponse::json(404, "{}"),
                                       FakeResponse::json(500, blocking), FakeResponse::json(200, R"({"latest_version":"9"})"),
                                       FakeResponse::json(200, R"({"latest_version":)"), FakeResponse::json(200, optional)})
        web.enqueue("GET", "/quorvane/version.json", answer);
    UpdateChecker checker({UpdateCheckerEnvironment::configURLFor(web.baseUrl()), u"1.4.2"_s,
                           std::make_shared<VirtualClock>(), true});

    for (int i = 0; i < 5; ++i) {
        QCoro::waitFor(checker.check());
        EXPECT_TRUE(checker.isBlocked()) << "answer " << i;
        EXPECT_EQ(checker.releaseNotes(), u"Faster sync"_s);
        EXPECT_EQ(checker.blockingMessage(), u"Please update"_s);
    }
    QCoro::waitFor(checker.check());
    EXPECT_FALSE(checker.isBlocked());
    EXPECT_TRUE(checker.hasOptionalUpdate());
    EXPECT_EQ(checker.latestVersion(), u"1.5.0"_s);
    EXPECT_EQ(checker.releaseNotes(), std::nullopt);
    EXPECT_EQ(checker.blockingMessage(), std::nullopt);
    EXPECT_EQ(checker.downloadURL(), std::nullopt);
    ASSERT_EQ(web.requests().size(), 6);
    EXPECT_TRUE(web.requests().constFirst().header("Cookie").isEmpty());
}

TEST(UpdateChecker, ChecksAtStartThenEverySixHoursAndNeverWhenSwitchedOff)
{
    FakeHttpServer web;
    web.enqueue("GET", "/quorvane/version.json", FakeResponse::json(503, {}));
    auto clock = std::make_shared<VirtualClock>();
    {
        UpdateChecker off({std::nullopt, u"1.0"_s, clock, true});
        off.start();
        EXPECT_FALSE(off.isEnabled());
    }
    auto checker = std::make_unique<UpdateChecker>(
        UpdateCheckerEnvironment{UpdateCheckerEnvironment::configURLFor(web.baseUrl()), u"1.0"_s, clock, true});
    checker->start();
    ASSERT_TRUE(waitUntil([&] { return web.requests().size() == 1 && clock->sleepingCount() == 1; }));
    for (int period = 2; period <= 4; ++period) {
        clock->advance(UpdateChecker::pollSeconds - 1);
        VirtualClock::settle();
        EXPECT_EQ(web.requests().size(), period - 1);
        clock->advance(1);
        // The next period starts once the check is over.
        ASSERT_TRUE(waitUntil([&] { return web.requests().size() == period && clock->sleepingCount() == 1; }));
    }
    checker->start(); // a restart checks at once and starts a fresh period
    ASSERT_TRUE(waitUntil([&] { return web.requests().size() == 5; }));
    checker.reset();
    clock->advance(UpdateChecker::pollSeconds * 2);
    VirtualClock::settle();
    EXPECT_EQ(web.requests().size(), 5);
    EXPECT_EQ(clock->sleepingCount(), 0);
}
