#include "AppFixture.h"
#include "support/FakeHttpServer.h"
#include "support/TestUtil.h"
#include "update/UpdateChecker.h"
#include "viewmodels/UpdateModel.h"

#include <QCoroTask>
#include <QQuickItem>

using namespace Qt::StringLiterals;

TEST(UpdateViews, TextsFollowTheLastAnswer)
{
    const struct { const char *body, *status, *blocking, *banner, *download; bool hasDownload; } rows[] = {
        {R"({"latest_version":"2.0","minimum_version":"1.5","download_url":"https://q.dev/get"})", "An update is required.",
         "A newer version of Quorvane is required to continue.", "New version: 2.0", "Download 2.0", true},
        {R"({"latest_version":"","minimum_version":"0","download_url":"","force_update":true,"blocking_message":"Stop"})",
         "An update is required.", "Stop", "New version: ", "Download latest", false},
        {R"({"latest_version":"1.3","minimum_version":"1.0","download_url":"q.dev"})", "Version 1.3 is available.",
         "A newer version of Quorvane is required to continue.", "New version: 1.3", "Download 1.3", false},
        {R"({"latest_version":"1.2.0","minimum_version":"1.0","download_url":"https://q.dev"})", "Quorvane is up to date.",
         "A newer version of Quorvane is required to continue.", "New version: 1.2.0", "Download 1.2.0", true},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.body);
        FakeHttpServer web;
        web.enqueue("GET", "/quorvane/version.json", FakeResponse::json(200, row.body));
        UpdateChecker checker({UpdateCheckerEnvironment::configURLFor(web.baseUrl()), u"1.2"_s,
                               std::make_shared<VirtualClock>(), true});
        UpdateModel model(&checker);
        EXPECT_EQ(model.statusText(), u"Not checked for updates yet."_s);
        QCoro::waitFor(checker.check());
        EXPECT_EQ(model.statusText(), QString::fromUtf8(row.status));
        EXPECT_EQ(model.blockingText(), QString::fromUtf8(row.blocking));
        EXPECT_EQ(model.bannerText(), QString::fromUtf8(row.banner));
        EXPECT_EQ(model.downloadButtonText(), QString::fromUtf8(row.download));
        EXPECT_EQ(model.hasDownload(), row.hasDownload);
        EXPECT_EQ(model.currentVersionText(), u"Current: v1.2"_s);
    }
    UpdateChecker off({std::nullopt, u"1.2"_s, std::make_shared<VirtualClock>(), false});
    EXPECT_EQ(UpdateModel(&off).statusText(), u"Quorvane does not check for updates by itself."_s);
}

TEST_F(AppFixture, ABlockedVersionShowsOnlyTheUpdateRequiredView)
{
    FakeHttpServer web;
    web.enqueue("GET", "/quorvane/version.json",
                FakeResponse::json(200, R"({"latest_version":"0.3","minimum_version":"0.2","download_url":"https://q.dev"})"));
    AppOptions options = appOptions();
    options.environment.endpoints.icons.enabled = false;
    options.update = {UpdateCheckerEnvironment::configURLFor(web.baseUrl()), u"0.1.0"_s, clock, true};
    const WarningCollector console;
    QuorvaneApp app(options);
    ASSERT_TRUE(app.start());
    EXPECT_TRUE(web.requests().isEmpty()) << "nothing is asked before the panel is first shown";
    app.showPanelAt(QPoint(0, 0));
    ASSERT_TRUE(waitUntil([&] { return app.updateChecker()->isBlocked(); }));
    app.navigation()->showSettings(u"general"_s);
    QCoreApplication::processEvents();
    const std::function<bool(QQuickItem *)> shows = [&](QQuickItem *item) {
        if (item->objectName() == u"updateRequiredView"_s)
            return true;
        const QList<QQuickItem *> children = item->childItems();
        return std::any_of(children.begin(), children.end(), shows);
    };
    EXPECT_TRUE(shows(app.window()->contentItem()));
    EXPECT_EQ(app.trayLabel(), u"Update"_s);
    EXPECT_EQ(console.text(), "");
}
