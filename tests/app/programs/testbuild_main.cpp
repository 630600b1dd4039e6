// The test build of Quorvane: the same application library as the release program, with
// switches that point it at loopback provider servers and a temporary data folder, open the
// panel on a chosen pane and write pictures of it. Release builds contain none of this.
#include "engine/RevenueEngine.h"
#include "mrr/MrrTracker.h"
#include "platform/StatusNotifierItem.h"
#include "shell/Fonts.h"
#include "shell/QuorvaneApp.h"
#include "shell/Symbols.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QFontMetrics>
#include <QPainter>
#include <QQuickItem>
#include <QQuickStyle>
#include <QTimer>

extern void qml_register_types_Quorvane();

using namespace Qt::StringLiterals;

namespace {

// Seeds "stripe:Name:key", "paypal:Name:clientId:secret" or "demo:Name" accounts into the data
// folder. The demo gets a fixed id, so every picture tells the same story.
bool seedAccounts(const Storage &storage, const QStringList &specs)
{
    QList<Account> accounts = storage.loadAccounts();
    for (const QString &fields : specs) {
        const QStringList parts = fields.split(u':');
        if (parts[0] == u"demo"_s && parts.size() >= 2) {
            const QUuid demoId = QUuid::fromString(u"{D3E40000-0000-4000-8000-000000000019}"_s);
            accounts.append({.id = demoId, .name = parts[1], .provider = AccountProvider::Demo});
            continue;
        }
        if (parts.size() < 3)
            return false;
        const bool paypal = parts[0] == u"paypal"_s;
        accounts.append({.name = parts[1],
                         .provider = paypal ? AccountProvider::PayPal : AccountProvider::Stripe,
                         .stripeRestrictedKey = paypal ? QString() : parts[2],
                         .paypalClientId = paypal ? parts[2] : QString(),
                         .paypalSecret = paypal ? parts.value(3) : QString()});
    }
    return storage.saveAccounts(accounts).ok();
}

QImage trayStrip(const QString &label, const QImage &icon)
{
    QFont font = QGuiApplication::font();
    font.setPixelSize(13);
    const QFontMetrics metrics(font);
    const int width = 12 + icon.width() + 6 + metrics.horizontalAdvance(label) + 14;
    QImage image(QSize(std::max(width, 120) + 160, 28) * 2, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(2);
    image.fill(QColor(24, 24, 27));
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setFont(font);
    p.setPen(QColor(150, 150, 155));
    p.drawText(QRect(8, 0, 140, 28), Qt::AlignVCenter, u"Tue 10 Mar  12:00"_s);
    p.drawImage(QRect(160, 3, 22, 22), icon);
    p.setPen(QColor(240, 240, 242));
    p.drawText(QRect(188, 0, width, 28), Qt::AlignVCenter, label);
    return image;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(u"Quorvane"_s);
    QApplication::setQuitOnLastWindowClosed(false);
    QQuickStyle::setStyle(u"Basic"_s);
    qml_register_types_Quorvane();
    installApplicationFont();

    QCommandLineParser parser;
    const QCommandLineOption dataDir(u"data-dir"_s, u"Data folder."_s, u"path"_s);
    const QCommandLineOption stripeBase(u"stripe-base"_s, u"Stripe API base URL."_s, u"url"_s);
    const QCommandLineOption paypalBase(u"paypal-base"_s, u"PayPal API base URL."_s, u"url"_s);
    const QCommandLineOption seed(u"seed"_s, u"Add an account before starting."_s, u"fields"_s);
    const QCommandLineOption pane(u"pane"_s, u"dashboard, settings:TAB, editor:PROVIDER, achievements[:edit], drilldown:KIND, atrisk, mrr."_s, u"pane"_s);
    const QCommandLineOption range(u"range"_s, u"Selected range."_s, u"range"_s);
    const QCommandLineOption privacy(u"privacy"_s, u"Privacy mode on."_s);
    const QCommandLineOption light(u"light"_s, u"Dark mode preference off."_s);
    const QCommandLineOption mrrGoal(u"mrr-goal"_s, u"MRR goal in US dollars."_s, u"usd"_s);
    const QCommandLineOption expandFirst(u"expand-first"_s, u"Open the first feed row."_s);
    const QCommandLineOption waitFor(u"wait-for"_s, u"refreshed, atrisk, mrr, loading, error, update or nothing."_s, u"state"_s);
    const QCommandLineOption retry(u"retry"_s, u"Retry the at-risk pane's row ROW, 3 s after the last; ROW:now at once."_s,
                                   u"row"_s);
    const QCommandLineOption screenshot(u"screenshot"_s, u"Write the panel to this PNG and quit."_s, u"file"_s);
    const QCommandLineOption trayShot(u"tray-shot"_s, u"Write the tray item to this PNG."_s, u"file"_s);
    const QCommandLineOption show(u"show"_s, u"Open the panel at start."_s);
    const QCommandLineOption webBase(u"web-base"_s, u"Favicon services and sites at this base URL."_s, u"url"_s);
    const QCommandLineOption openMenu(u"open-menu"_s, u"Open the menu button with this object name."_s, u"name"_s);
    const QCommandLineOption checkUpdates(u"check-updates"_s, u"Ask the web base for the version file."_s);
    parser.addOptions({dataDir, stripeBase, paypalBase, seed, pane, range, privacy, light, mrrGoal, expandFirst, waitFor, screenshot,
                       trayShot, show, webBase, checkUpdates, openMenu, retry});
    parser.addHelpOption();
    parser.process(app);
    if (!parser.isSet(dataDir)) {
        fputs("quorvane_testbuild: --data-dir is required\n", stderr);
        return 2;
    }

    AppOptions options;
    options.environment.storage = Storage(parser.value(dataDir));
    options.locale = QLocale(QLocale::English, QLocale::UnitedStates);
    options.autostartConfigHome = parser.value(dataDir) + u"/config"_s;
    ProviderEndpoints &endpoints = options.environment.endpoints;
    if (parser.isSet(stripeBase))
        endpoints.stripeApi = QUrl(parser.value(stripeBase));
    if (parser.isSet(paypalBase))
        endpoints.paypalLive = endpoints.paypalSandbox = QUrl(parser.value(paypalBase));
    // A test run never reaches a public host: without a loopback web base there are no icons
    // and no update checks.
    endpoints.icons.enabled = parser.isSet(webBase);
    options.update.configURL = std::nullopt;
    options.update.allowPlainHttp = true;
    if (parser.isSet(webBase)) {
        const QUrl web(parser.value(webBase));
        endpoints.icons.duckDuckGo = endpoints.icons.google = web;
        endpoints.icons.siteOverride = web;
        endpoints.icons.allowPlainHttp = true;
        if (parser.isSet(checkUpdates))
            options.update.configURL = UpdateCheckerEnvironment::configURLFor(web);
    }
    if (parser.isSet(seed) && !seedAccounts(options.environment.storage, parser.values(seed)))
        return 2;
    // Preferences go to disk before the engine starts, so the first cycle already uses them.
    Preferences prefs = options.environment.storage.loadPreferences().value_or(
        Preferences::defaults(Date::fromDateTime(QDateTime::currentDateTimeUtc()), TimeContext()));
    if (parser.isSet(range))
        if (const auto r = fromRaw<TimeRange>(parser.value(range)))
            prefs.selectedRange = *r;
    if (parser.isSet(privacy))
        prefs.privacyMode = true;
    if (parser.isSet(light))
        prefs.darkMode = false;
    if (parser.isSet(mrrGoal))
        prefs.mrrGoalUsd = parser.value(mrrGoal).toDouble();
    if (!options.environment.storage.savePreferences(prefs))
        return 2;

    QuorvaneApp quorvane(std::move(options));
    if (!quorvane.start())
        return 1;

    const QString paneName = parser.value(pane);
    if (parser.isSet(show) || parser.isSet(screenshot)) {
        quorvane.showPanelAt(QPoint(40, 30));
        if (paneName.startsWith(u"settings:"_s)) {
            quorvane.navigation()->showSettings(paneName.mid(9));
        } else if (paneName.startsWith(u"editor:"_s)) {
            quorvane.navigation()->showSettings(u"accounts"_s);
            quorvane.accounts()->addAccount(paneName.mid(7));
        } else if (paneName.startsWith(u"achievements"_s)) {
            quorvane.navigation()->showAchievements();
        } else if (paneName.startsWith(u"drilldown:"_s)) {
            quorvane.navigation()->showDrillDown(paneName.mid(10));
        } else if (paneName == u"atrisk"_s) {
            quorvane.navigation()->showAtRisk();
        } else if (paneName == u"mrr"_s) {
            quorvane.navigation()->showMrr();
        } else {
            quorvane.navigation()->showDashboard();
        }
    }

    if (!parser.isSet(screenshot) && !parser.isSet(trayShot))
        return app.exec();

    // Wait for the state the picture is about, then draw it.
    RevenueEngine *engine = quorvane.engine();
    const QString state = parser.value(waitFor);
    const auto ready = [&] {
        if (state == u"refreshed"_s)
            return engine->lastRefreshed().has_value() && !engine->isLoading() && !engine->isLoadingHistoricalGap();
        if (state == u"atrisk"_s)
            return engine->lastRefreshed().has_value() && !engine->isLoading() && !engine->isLoadingAtRisk()
                   && engine->atRiskRefreshTotal() > 0 && engine->atRiskRefreshDone() == engine->atRiskRefreshTotal();
        if (state == u"mrr"_s)
            return engine->lastRefreshed().has_value() && !engine->isLoading() && !engine->isLoadingHistoricalGap()
                   && engine->mrr()->state().updatedAt.has_value() && !engine->mrr()->state().isLoading;
        if (state == u"loading"_s)
            return engine->isLoading();
        if (state == u"error"_s)
            return engine->lastError().has_value() && !engine->isLoading();
        if (state == u"update"_s)
            return quorvane.updateChecker()->hasAnswer();
        return true;
    };
    QElapsedTimer waited;
    waited.start();
    while (!ready() && waited.elapsed() < 30'000)
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 50);
    if (!ready())
        return 3;
    if (parser.isSet(expandFirst))
        quorvane.dashboard()->feed()->toggle(0);
    if (parser.isSet(openMenu)) {
        // Panes are loaded items: their parents are visual, not QObject ones.
        const std::function<QQuickItem *(QQuickItem *)> find = [&](QQuickItem *item) -> QQuickItem * {
            if (item->objectName() == parser.value(openMenu))
                return item;
            for (QQuickItem *child : item->childItems())
                if (QQuickItem *found = find(child))
                    return found;
            return nullptr;
        };
        QQuickItem *button = find(quorvane.window()->contentItem());
        if (!button)
            return 3;
        QMetaObject::invokeMethod(button, "clicked");
    }
    const auto pause = [](int ms) {
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < ms)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    };
    const QStringList retries = parser.values(retry);
    for (qsizetype i = 0; i < retries.size(); ++i) {
        if (i > 0 && !retries[i].endsWith(u":now"_s))
            pause(3100); // the engine spaces retries by 3 s
        quorvane.atRisk()->retry(retries[i].section(u':', 0, 0).toInt());
    }
    if (paneName == u"achievements:edit"_s)
        quorvane.achievements()->toggleEditing();
    pause(1500); // let the scene settle (layout, images, the elapsed-time tick)

    if (parser.isSet(trayShot)) {
        const QString symbol = quorvane.updateChecker()->isBlocked() ? u"arrow.up.circle.fill"_s : u"chart.line.uptrend.xyaxis"_s;
        const QImage icon = Symbols::render(symbol, QColor::fromRgbF(0.42f, 0.72f, 0.50f), QSize(44, 44));
        if (!trayStrip(quorvane.trayLabel(), icon).save(parser.value(trayShot)))
            return 4;
    }
    if (parser.isSet(screenshot)) {
        const QImage image = quorvane.window()->grabWindow();
        if (image.isNull() || !image.save(parser.value(screenshot)))
            return 4;
    }
    return 0;
}
