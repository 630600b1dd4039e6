#include "AppFixture.h"
#include "platform/SingleInstance.h"
#include "platform/XdgAutostart.h"
#include "shell/Appearance.h"
#include "shell/Navigation.h"
#include "shell/PanelPlacement.h"
#include "shell/Symbols.h"
#include "shell/TrayPresentation.h"
#include "support/ChildProcess.h"
#include "support/TestUtil.h"
#include "viewmodels/GeneralSettingsModel.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDir>
#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QPalette>
#include <QFile>
#include <QFont>
#include <QQuickItem>
#include <QTest>

using namespace Qt::StringLiterals;

TEST(Placement, OpensNextToTheTrayAndStaysOnScreen)
{
    const QRect available(0, 28, 1920, 1052); // a top panel of 28
    const QSize panel(440, 600);
    const struct { const char *name; QRect tray; QPoint click; QRect available; QPoint expected; } cases[] = {
        {"top bar, middle", {1000, 0, 24, 28}, {}, available, {792, 32}},
        {"top bar, far right edge", {1890, 0, 24, 28}, {}, available, {1480, 32}},
        {"top bar, in the corner", {0, 0, 20, 28}, {}, available, {0, 32}},
        {"bottom bar, in the corner", {1900, 1052, 20, 28}, {}, QRect(0, 0, 1920, 1052), {1480, 448}},
        {"click point only, pushed below the bar", {}, {960, 10}, available, {740, 28}},
        {"left panel", {0, 500, 40, 24}, {}, QRect(40, 0, 1880, 1080), {44, 212}},
        {"right panel", {1880, 500, 40, 24}, {}, QRect(0, 0, 1880, 1080), {1436, 212}},
        {"small screen pins to the top left, height capped", {600, 0, 24, 28}, {}, QRect(0, 28, 400, 500), {0, 28}},
        {"800-px screen, panel as tall as the area", {1200, 0, 24, 28}, {}, QRect(0, 28, 1280, 572), {840, 28}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const QRect placed = panelGeometry(c.tray, c.click, panel, c.available);
        EXPECT_EQ(placed.topLeft(), c.expected);
        EXPECT_EQ(placed.size(), QSize(panel.width(), std::min(panel.height(), c.available.height())));
    }
}

TEST(Navigation, PanesAndTheirPayloads)
{
    EXPECT_EQ(settingsPaneFromRaw(u"accounts"), SettingsPane::Accounts);
    EXPECT_EQ(settingsPaneFromRaw(u"Accounts"), std::nullopt);

    Navigation nav;
    int changes = 0;
    QObject::connect(&nav, &Navigation::paneChanged, [&] { ++changes; });
    const struct { const char *name; std::function<void()> action; const char *pane, *detail; } steps[] = {
        {"starts on the dashboard", [] {}, "dashboard", ""},
        {"gear", [&] { nav.showSettings(u"general"_s); }, "settings", "general"},
        {"empty state", [&] { nav.showSettings(u"accounts"_s); }, "settings", "accounts"},
        {"unknown tab opens general", [&] { nav.showSettings(u"nope"_s); }, "settings", "general"},
        {"back", [&] { nav.showDashboard(); }, "dashboard", ""},
        {"tile", [&] { nav.showDrillDown(u"churn"_s); }, "drillDown", "churn"},
        {"another tile", [&] { nav.showDrillDown(u"new"_s); }, "drillDown", "new"},
        {"unknown kind is ignored", [&] { nav.showDrillDown(u"bogus"_s); }, "drillDown", "new"},
        {"trophy", [&] { nav.showAchievements(); }, "achievements", ""},
        {"recurring revenue", [&] { nav.showMrr(); }, "mrr", ""},
    };
    for (const auto &s : steps) {
        SCOPED_TRACE(s.name);
        s.action();
        EXPECT_EQ(nav.paneName(), QString::fromLatin1(s.pane));
        if (nav.paneName() == u"settings")
            EXPECT_EQ(nav.settingsTabName(), QString::fromLatin1(s.detail));
        if (nav.paneName() == u"drillDown")
            EXPECT_EQ(nav.drillDownKindName(), QString::fromLatin1(s.detail));
    }
    EXPECT_EQ(changes, 8); // the ignored and the unchanged steps announce nothing
}

TEST(TrayPresentation, LabelShowsTheChosenFigureAndTheTooltipBoth)
{
    const TrayFigures revenue{u"$1348"_s, u"This month"_s, u"$12.3K"_s, false, QString()};
    TrayFigures mrr = revenue;
    mrr.labelShowsMrr = true;
    mrr.goalEta = u"$15.0K MRR in about 4 months"_s;
    const QString both = u"Quorvane · $1348 · This month · MRR $12.3K"_s;
    const struct { const char *name; TrayFigures figures; bool hasData, blocked; TrayPresentation expected; } cases[] = {
        {"revenue", revenue, true, false, {u"$1348"_s, both, QString()}},
        {"MRR, with the goal's ETA", mrr, true, false, {u"$12.3K"_s, both, u"$15.0K MRR in about 4 months"_s}},
        {"nothing loaded yet", revenue, false, false, {u"—"_s, u"Quorvane · — · This month · MRR $12.3K"_s, QString()}},
        {"MRR not known yet", TrayFigures{u"$1348"_s, u"This month"_s, QString(), true, QString()}, true, false,
         {u"—"_s, u"Quorvane · $1348 · This month · MRR —"_s, QString()}},
        {"blocked", mrr, true, true, {u"Update"_s, u"Quorvane · Update required"_s, QString()}},
    };
    for (const auto &c : cases)
        EXPECT_EQ(trayPresentation(c.figures, c.hasData, c.blocked), c.expected) << c.name;
}

TEST(Symbols, EveryNameResolvesToABundledIcon)
{
    const QStringList names = Symbols::names();
    for (const char *used : {"chart.line.uptrend.xyaxis", "gearshape", "trophy.fill", "eye.slash.fill", "eye",
                             "arrow.clockwise", "xmark.circle.fill", "exclamationmark.triangle.fill", "chevron.down",
                             "calendar", "person.crop.circle.fill", "doc.on.doc", "arrow.up.right.square", "power",
                             "key.fill", "slider.horizontal.3", "info.circle", "plus", "pencil", "trash",
                             "creditcard.fill", "p.circle.fill", "key.slash", "checkmark", "chevron.left", "xmark",
                             "exclamationmark", "arrow.uturn.left", "exclamationmark.circle.fill", "arrow.up.circle.fill"})
        EXPECT_TRUE(names.contains(QString::fromLatin1(used))) << used;
    for (const QString &name : names) {
        SCOPED_TRACE(name.toStdString());
        const auto path = Symbols::resourcePath(name);
        ASSERT_TRUE(path.has_value());
        EXPECT_TRUE(QFile::exists(*path)) << path->toStdString();
        const QImage image = Symbols::render(name, Qt::red, QSize(24, 24));
        ASSERT_FALSE(image.isNull());
        bool inked = false;
        for (int y = 0; y < image.height() && !inked; ++y)
            for (int x = 0; x < image.width() && !inked; ++x)
                inked = qAlpha(image.pixel(x, y)) > 0 && qRed(image.pixel(x, y)) > 0 && qGreen(image.pixel(x, y)) == 0;
        EXPECT_TRUE(inked); // drawn, and in the asked colour
    }
    EXPECT_FALSE(Symbols::resourcePath(u"no.such.symbol").has_value());
    // "fill" symbols are drawn filled, with the marks inside cut out (points on Lucide's 24 grid).
    const struct { const char *name; QPoint at; bool inked; } fills[] = {
        {"star.fill", {12, 12}, true}, {"exclamationmark.triangle.fill", {8, 18}, true},
        {"exclamationmark.triangle.fill", {12, 11}, false}, {"xmark.circle.fill", {6, 12}, true},
        {"xmark.circle.fill", {12, 12}, false}, {"trophy.fill", {12, 6}, true}, {"eye", {12, 12}, false}};
    for (const auto &f : fills) {
        const QImage image = Symbols::render(QString::fromLatin1(f.name), Qt::red, QSize(96, 96));
        EXPECT_EQ(qAlpha(image.pixel(f.at * 4 + QPoint(2, 2))) > 128, f.inked) << f.name << " at " << f.at.x() << "," << f.at.y();
    }
}

TEST(Fonts, OutfitIsTheApplicationFont)
{
    EXPECT_EQ(QGuiApplication::font().family(), u"Outfit");
}

TEST(LoginItem, AutostartEntryNamesTheInstalledProgramAndIsRewrittenWhenItMoves)
{
    const struct { const char *name; QString running, onPath; QByteArray exec; } rows[] = {
        {"installed and running", u"/opt/Quorvane \"x\"/bin/quorvane"_s, u"/usr/bin/quorvane"_s,
         "Exec=\"/opt/Quorvane \\\"x\\\"/bin/quorvane\"\n"},
        {"from a build folder: the one on PATH", u"/home/a/quorvane/build/src/app/quorvane"_s,
         u"/usr/local/bin/quorvane"_s, "Exec=\"/usr/local/bin/quorvane\"\n"},
        {"from a build folder, nothing installed", u"/home/a/quorvane/build/src/app/quorvane"_s, {}, {}}};
    QTemporaryDir dir;
    const QString path = dir.filePath(u"autostart/quorvane.desktop"_s);
    // An entry left by an older build folder is replaced, where there is something to name.
    ASSERT_TRUE(QDir().mkpath(dir.filePath(u"autostart"_s)));
    const QByteArray older = XdgAutostart::entry(u"/home/a/old/build/src/app/quorvane"_s);
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_TRUE(writeFile(path, older));
        XdgAutostart item(dir.path(), row.running, row.onPath);
        EXPECT_TRUE(item.isEnabled());
        EXPECT_EQ(item.setEnabled(true), !row.exec.isEmpty());
        const QByteArray entry = readFile(path);
        EXPECT_TRUE(entry.startsWith("[Desktop Entry]\n"));
        EXPECT_TRUE(entry.contains(row.exec.isEmpty() ? "/old/build/" : row.exec)) << entry.toStdString();
        ASSERT_TRUE(item.setEnabled(false));
        EXPECT_FALSE(item.isEnabled());
        EXPECT_TRUE(item.setEnabled(false)); // already gone
    }
}

// A second launch of the real program hands its request to the running copy and ends with 0:
// over the session bus, and through the lock file's socket where there is no bus.
TEST(SingleInstance, ASecondLaunchHandsItsRequestToTheRunningCopy)
{
    if (QStandardPaths::findExecutable(u"dbus-daemon"_s).isEmpty())
        GTEST_SKIP() << "dbus-daemon is not installed";
    ChildProcess bus;
    const QString address = startSessionBus(bus);
    ASSERT_FALSE(address.isEmpty());
    QTemporaryDir runtime;
    const auto connection = [&](bool onBus, const QString &name) {
        return onBus ? QDBusConnection::connectToBus(address, name) : QDBusConnection(u"no bus"_s);
    };
    const struct { const char *name; bool onBus; } rows[] = {{"session bus", true}, {"no session bus", false}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        SingleInstance running(connection(row.onBus, u"first"_s), runtime.path());
        ASSERT_TRUE(running.claim());
        EXPECT_FALSE(SingleInstance(connection(row.onBus, u"second"_s), runtime.path()).claim());
        QStringList taken;
        QObject::connect(&running, &SingleInstance::openRequested, [&] { taken << u"open"_s; });
        QObject::connect(&running, &SingleInstance::quitRequested, [&] { taken << u"quit"_s; });
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, row.onBus ? address : u"unix:path=/nonexistent"_s);
        env.insert(u"XDG_RUNTIME_DIR"_s, runtime.path());
        for (const QStringList &arguments : {QStringList(), QStringList{u"--open"_s}, QStringList{u"--quit"_s}}) {
            ChildProcess launch;
            launch.process.setProcessEnvironment(env);
            launch.process.start(QStringLiteral(QUORVANE_BINARY_PATH), arguments);
            ASSERT_TRUE(waitUntil([&] { return launch.process.state() == QProcess::NotRunning; }, 10000));
            EXPECT_EQ(launch.process.exitCode(), 0) << launch.process.readAllStandardError().toStdString();
        }
        EXPECT_EQ(taken, (QStringList{u"open"_s, u"open"_s, u"quit"_s}));
    }
    // With the running copy gone, the next one runs.
    EXPECT_TRUE(SingleInstance(connection(true, u"third"_s), runtime.path()).claim());
}

TEST_F(AppFixture, DarkModeFollowsThePreferenceAtOnce)
{
    RevenueEngine &engine = startEngine();
    Appearance appearance(nullptr);
    appearance.follow(&engine);
    GeneralSettingsModel general(&engine);
    general.setDarkMode(true);
    EXPECT_TRUE(appearance.dark());
    EXPECT_EQ(QGuiApplication::palette().color(QPalette::Link), appearance.accent()) << "Markdown links follow the theme";
    const bool systemDark = Appearance::systemIsDark();
    general.setDarkMode(false);
    EXPECT_EQ(appearance.dark(), systemDark);
    EXPECT_EQ(QGuiApplication::palette().color(QPalette::Link), appearance.accent());
}

// Every pane and dialog is shown for real, and none may print a single warning.
TEST_F(AppFixture, MainWindowLoadsEveryPaneWithoutWarnings)
{
    const Account acme{.name = u"Acme"_s};
    ASSERT_TRUE(storage().saveAccounts({acme}));
    ASSERT_TRUE(storage().saveFeed({event(u"a"_s, daysAgo(0.1), RevenueKind::New, 49, acme.id),
                        event(u"b"_s, daysAgo(40), RevenueKind::Refund, 29, acme.id)}));
    AppOptions options = appOptions();
    options.environment.endpoints.stripeApi = QUrl(u"http://127.0.0.1:9"_s); // saving refreshes: refused at once
    options.demo = true; // on a setup with an account of the user's own, --demo adds nothing
    const WarningCollector console;
    {
        QuorvaneApp app(options);
        ASSERT_TRUE(app.start());
        ASSERT_NE(app.window(), nullptr);
        EXPECT_EQ(app.engine()->accounts(), QList<Account>{acme});
        app.showPanelAt(QPoint(0, 0));
        EXPECT_EQ(app.window()->width(), QuorvaneApp::panelWidth);
        for (const QString &tab : {u"general"_s, u"accounts"_s, u"about"_s}) {
            app.navigation()->showSettings(tab);
            QCoreApplication::processEvents();
            EXPECT_EQ(app.window()->width(), QuorvaneApp::panelWidth);
        }
        app.navigation()->showSettings(u"accounts"_s);
        app.accounts()->askToRemove(0);
        QCoreApplication::processEvents();
        app.accounts()->addAccount(u"stripe"_s);
        QCoreApplication::processEvents();
        app.accounts()->editor()->setStripeRestrictedKey(u"rk_test_saved"_s);
        app.accounts()->editor()->save();
        EXPECT_EQ(app.navigation()->paneName(), u"dashboard"); // Save returns to the dashboard
        ASSERT_TRUE(waitUntil([&] { return app.engine()->lastError().has_value() && !app.engine()->isLoading(); }));
        QCoreApplication::processEvents();
        EXPECT_TRUE(app.shownInTray().toolTipTitle.contains(u"Last refresh failed: Acme has no key — edit it (and more)"))
            << app.shownInTray().toolTipTitle.toStdString();
        app.navigation()->showSettings(u"accounts"_s);
        app.accounts()->addAccount(u"paypal"_s);
        QCoreApplication::processEvents();
        app.accounts()->editor()->setProviderIndex(0);
        QCoreApplication::processEvents();
        app.navigation()->showDrillDown(u"new"_s);
        QCoreApplication::processEvents();
        app.navigation()->showAtRisk();
        QCoreApplication::processEvents();
        app.navigation()->showMrr();
        QCoreApplication::processEvents();
        app.navigation()->showAchievements();
        app.achievements()->toggleEditing();
        app.achievements()->setDrafts(u"abc"_s, {}, {});
        QCoreApplication::processEvents();
        app.achievements()->toggleEditing(); // refused, with its reason beside the draft
        EXPECT_TRUE(app.achievements()->editing());
        EXPECT_FALSE(app.achievements()->draftProblems().constFirst().isEmpty());
        app.navigation()->showDrillDown(u"new"_s);
        QCoreApplication::processEvents();
        EXPECT_EQ(app.accounts()->editor(), nullptr); // drafts do not survive leaving the pane
        app.navigation()->showDashboard();
        app.engine()->setSelectedAccountFilter(acme.id);
        app.dashboard()->ranges()->choose(4);
        app.dashboard()->togglePrivacy();
        app.dashboard()->feed()->toggle(0);
        QCoreApplication::processEvents();
    }
    EXPECT_EQ(console.text(), "");
}

// The save dialog takes the focus, which closes the panel; closing the dialog brings it back on
// the pane it showed.
TEST_F(AppFixture, ThePanelComesBackAfterTheSaveDialog)
{
    QuorvaneApp app(appOptions());
    ASSERT_TRUE(app.start());
    app.showPanelAt(QPoint(0, 0));
    app.navigation()->showDrillDown(u"churn"_s);
    app.drillDown()->exportCsv(u"customers"_s);
    app.hidePanel();
    const QWidgetList dialogs = QApplication::topLevelWidgets();
    const auto dialog = std::ranges::find_if(dialogs, [](QWidget *w) { return w->inherits("QFileDialog") && w->isVisible(); });
    ASSERT_NE(dialog, dialogs.end());
    (*dialog)->close();
    EXPECT_TRUE(app.window()->isVisible());
    EXPECT_EQ(app.navigation()->paneName(), u"drillDown");
}

// Without any tray host the program would be invisible: the panel opens once by itself.
TEST_F(AppFixture, PanelOpensAtStartOnlyWhenNoTrayHostShowsTheItem)
{
    AppOptions options = appOptions(true);
    options.environment.endpoints.icons.enabled = false;
    QuorvaneApp app(options);
    ASSERT_TRUE(app.start());
    ASSERT_NE(app.tray(), nullptr);
    EXPECT_EQ(app.window()->isVisible(), !app.tray()->isSeen());
    // Then it is an ordinary window: framed, closed by its button, opened again by a launch.
    EXPECT_EQ(app.windowed(), !app.tray()->isSeen());
    EXPECT_EQ(bool(app.window()->flags() & Qt::FramelessWindowHint), !app.windowed());
    app.window()->close();
    EXPECT_FALSE(app.window()->isVisible());
    app.openPanel();
    EXPECT_TRUE(app.window()->isVisible());
    EXPECT_EQ(app.trayLabel(), u"—"); // nothing loaded yet: no "$0"
}

// On a short screen (1080 px at twice the scale leaves 540) the chart gives way and the body
// scrolls, so the footer stays in reach; settings scroll with a bar, and take a tall screen's room.
TEST_F(AppFixture, ShortScreensKeepTheFooterAndSettingsInReach)
{
    const Account acme{.name = u"Acme"_s};
    ASSERT_TRUE(storage().saveAccounts({acme}));
    QList<PaymentEvent> feed;
    for (int i = 0; i < 12; ++i)
        feed.append(event(QString::number(i), daysAgo(0.1 + i), RevenueKind::New, 49, acme.id));
    ASSERT_TRUE(storage().saveFeed(feed));
    QuorvaneApp app(appOptions());
    ASSERT_TRUE(app.start());
    QQuickWindow *window = app.window();
    const std::function<QQuickItem *(QQuickItem *, const char *)> find = [&](QQuickItem *root, const char *name) {
        for (QQuickItem *child : root->childItems())
            if (QQuickItem *hit = child->objectName() == QLatin1StringView(name) ? child : find(child, name))
                return hit;
        return static_cast<QQuickItem *>(nullptr);
    };
    const auto item = [&](const char *name) { return find(window->contentItem(), name); };
    const auto inWindow = [&](QQuickItem *i) {
        return i && i->isVisible() && QRectF(QPointF(0, 0), window->size()).contains(i->mapRectToScene(i->boundingRect()));
    };
    const struct { const char *name; QRect screen; bool chartGivesWay, scrolls, settingsScroll; } screens[] = {
        {"1080 px at 2x", {0, 0, 960, 540}, true, false, true},
        {"768 px at 2x", {0, 0, 683, 384}, true, true, true},
        {"1200 px at 1x", {0, 0, 1920, 1200}, false, false, false}};
    for (const auto &s : screens) {
        SCOPED_TRACE(s.name);
        app.fitPanelTo(s.screen);
        app.showPanelAt(QPoint(0, 0));
        ASSERT_TRUE(waitUntil([&] { return app.engine()->feed().size() == 12 && item("settingsButton"); }));
        QCoreApplication::processEvents();
        EXPECT_LE(window->height(), s.screen.height());
        EXPECT_TRUE(inWindow(item("settingsButton")));
        EXPECT_EQ(item("dashboardBody")->property("scrolls").toBool(), s.scrolls);
        EXPECT_EQ(item("revenueChart")->height() < 140, s.chartGivesWay);
        app.navigation()->showSettings(u"general"_s);
        QCoreApplication::processEvents();
        QQuickItem *scroll = item("settingsScroll");
        ASSERT_NE(scroll, nullptr);
        const QList<QQuickItem *> parts = scroll->findChildren<QQuickItem *>();
        const auto bar = std::ranges::find_if(parts, [](QQuickItem *i) {
            return i->inherits("QQuickScrollBar") && i->property("orientation").toInt() == Qt::Vertical;
        });
        ASSERT_NE(bar, parts.end());
        EXPECT_EQ((*bar)->property("policy").toInt() == 2, s.settingsScroll) << "the bar stays on while it scrolls";
        EXPECT_EQ(scroll->property("contentHeight").toReal() > scroll->height(), s.settingsScroll);
        EXPECT_TRUE(inWindow(scroll));
        EXPECT_EQ(window->height() > 460 + 28, s.screen.height() > 400) << "what room there is is used";
        app.hidePanel();
    }
}

// Tab reaches the tiles and the feed rows, each drawn with a ring; Enter works as Space; Esc closes the innermost thing
// (a menu, the account editor) first and the panel when no control used it, wherever the focus is.
TEST_F(AppFixture, KeyboardReachesEveryControlAndEscClosesInnermostFirst)
{
    const Account acme{.name = u"Acme"_s};
    ASSERT_TRUE(storage().saveAccounts({acme}));
    ASSERT_TRUE(storage().saveFeed({event(u"a"_s, daysAgo(0.1), RevenueKind::New, 49, acme.id),
                                    event(u"b"_s, daysAgo(1), RevenueKind::Refund, 29, acme.id)}));
    AppOptions options = appOptions();
    options.environment.endpoints.stripeApi = QUrl(u"http://127.0.0.1:9"_s); // saving refreshes: refused at once
    QuorvaneApp app(options);
    ASSERT_TRUE(app.start());
    QQuickWindow *window = app.window();
    const auto open = [&] { app.showPanelAt(QPoint(0, 0)); return QTest::qWaitForWindowActive(window); };
    const auto press = [&](Qt::Key key) { QTest::keyClick(window, key); QCoreApplication::processEvents(); };
    const std::function<QQuickItem *(QQuickItem *, const QString &)> find = [&](QQuickItem *root, const QString &name) {
        for (QQuickItem *child : root->childItems())
            if (QQuickItem *hit = child->objectName() == name || child->property("placeholderText") == name ? child : find(child, name))
                return hit;
        return static_cast<QQuickItem *>(nullptr);
    };
    const auto focus = [&](const QString &name) {
        QQuickItem *item = find(window->contentItem(), name);
        return item ? item->forceActiveFocus(Qt::TabFocusReason), item : nullptr;
    };
    ASSERT_TRUE(open());
    const QImage unfocused = window->grabWindow();
    QStringList stops;
    for (QQuickItem *first = nullptr; stops.size() < 40;) {
        press(Qt::Key_Tab);
        QQuickItem *item = window->activeFocusItem();
        if (!item || item == first)
            break;
        first = first ? first : item;
        stops << item->objectName();
        const QRect around = item->mapRectToScene(item->boundingRect()).toAlignedRect().adjusted(-3, -3, 3, 3);
        EXPECT_NE(window->grabWindow().copy(around), unfocused.copy(around)) << "no ring on stop " << stops.size();
    }
    EXPECT_EQ(stops.count(u"tile"_s), 3);
    EXPECT_EQ(stops.count(u"feedRow"_s), 2);

    const QModelIndex firstRow = app.dashboard()->feed()->index(0);
    ASSERT_TRUE(focus(u"feedRow"_s));
    press(Qt::Key_Return);
    EXPECT_TRUE(firstRow.data(FeedModel::ExpandedRole).toBool());
    press(Qt::Key_Space);
    EXPECT_FALSE(firstRow.data(FeedModel::ExpandedRole).toBool());
    press(Qt::Key_Escape); // focus on a control
    EXPECT_FALSE(window->isVisible());

    ASSERT_TRUE(open());
    QQuickItem *filter = focus(u"accountFilterMenu"_s);
    ASSERT_NE(filter, nullptr);
    press(Qt::Key_Return);
    const QObjectList children = filter->children();
    const auto menu = std::find_if(children.begin(), children.end(), [](QObject *o) { return o->inherits("QQuickMenu"); });
    ASSERT_TRUE(menu != children.end() && (*menu)->property("visible").toBool());
    press(Qt::Key_Escape);
    EXPECT_FALSE((*menu)->property("visible").toBool());
    EXPECT_TRUE(window->isVisible()) << "the menu took the first Esc";
    press(Qt::Key_Escape);
    EXPECT_FALSE(window->isVisible());

    ASSERT_TRUE(open());
    app.navigation()->showSettings(u"accounts"_s);
    for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return}) {
        app.accounts()->addAccount(u"stripe"_s);
        QCoreApplication::processEvents();
        ASSERT_TRUE(focus(u"rk_live_..."_s));
        for (const char c : std::string_view("rk_test_typed"))
            QTest::keyClick(window, c);
        press(key); // Cancel, then Save
        EXPECT_EQ(app.accounts()->editor(), nullptr);
        EXPECT_TRUE(window->isVisible());
    }
    EXPECT_EQ(app.engine()->accounts().size(), 2);
    EXPECT_EQ(app.navigation()->paneName(), u"dashboard");
    app.navigation()->showSettings(u"accounts"_s);
    app.accounts()->askToRemove(0);
    QCoreApplication::processEvents();
    press(Qt::Key_Escape); // the removal question takes the first Esc, as Cancel
    EXPECT_EQ(app.accounts()->removalQuestion(), u"");
    EXPECT_EQ(app.engine()->accounts().size(), 2);
    EXPECT_TRUE(window->isVisible());
    press(Qt::Key_Escape);
    EXPECT_FALSE(window->isVisible());
}
