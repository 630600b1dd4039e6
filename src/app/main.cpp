#include "platform/AppId.h"
#include "platform/KeychainSecretStore.h"
#include "platform/Notifications.h"
#include "platform/SingleInstance.h"
#include "shell/Fonts.h"
#include "shell/QuorvaneApp.h"
#include "shell/StartupProbe.h"
#include "shell/Symbols.h"
#include "update/BuildInfo.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDir>
#include <QIcon>
#include <QQuickStyle>
#include <QStandardPaths>

extern void qml_register_types_Quorvane();

using namespace Qt::StringLiterals;

namespace {

// The program's mark for notification servers, as a file they can read.
QString notificationIcon()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    const QString file = folder + u"/notification-icon.png"_s;
    const QImage icon = Symbols::render(u"chart.line.uptrend.xyaxis"_s, QColor::fromRgbF(0.42f, 0.72f, 0.50f), QSize(96, 96));
    if (!QDir().mkpath(folder) || !icon.save(file))
        return {};
    return QUrl::fromLocalFile(file).toString();
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Quorvane"));
    QApplication::setApplicationVersion(QString::fromUtf8(BuildInfo::projectVersion));
    QApplication::setDesktopFileName(QStringLiteral(QUORVANE_APP_ID));

    // A second launch (the menu, a shortcut, autostart next to a terminal) asks the running
    // copy to open its panel, or to quit, and ends.
    const bool quitAsked = app.arguments().contains(QStringLiteral("--quit"));
    SingleInstance instance(QDBusConnection::sessionBus(),
                            QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation));
    if (!instance.claim())
        return instance.send(quitAsked ? SingleInstance::Request::Quit : SingleInstance::Request::Open) ? 0 : 1;
    if (quitAsked)
        return 0; // nothing runs that could be asked
    // A menu-bar program: closing the panel never ends it; the power button does.
    QApplication::setQuitOnLastWindowClosed(false);
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    qml_register_types_Quorvane();
    installApplicationFont();
    QApplication::setWindowIcon(QIcon::fromTheme(
        QStringLiteral(QUORVANE_APP_ID),
        QIcon(QPixmap::fromImage(Symbols::render(u"chart.line.uptrend.xyaxis"_s, QColor::fromRgbF(0.42f, 0.72f, 0.50f),
                                                 QSize(96, 96))))));

    AppOptions options;
    // `make run` on a machine without keys: QUORVANE_DEMO=1, or --demo.
    options.demo = app.arguments().contains(QStringLiteral("--demo")) || qEnvironmentVariable("QUORVANE_DEMO") == u"1";
    options.environment.secrets = makeDesktopSecretStore();
    options.keyringNeedsSetup = [] { return keyringNeedsSetup(QDBusConnection::sessionBus()); };
    options.environment.readFeedInBackground = true; // the tray is up before a long feed is read
    options.environment.notifier = Platform::createNotifier(options.environment.storage.folder() + u"/sounds"_s,
                                                            notificationIcon());
    QuorvaneApp quorvane(options);
    if (!quorvane.start())
        return 1;
    QObject::connect(&instance, &SingleInstance::openRequested, &quorvane, &QuorvaneApp::openPanel);
    QObject::connect(&instance, &SingleInstance::quitRequested, &quorvane, &QuorvaneApp::quit);
    if (app.arguments().contains(QStringLiteral("--open")))
        quorvane.openPanel();
    installStartupProbe(quorvane);
    return app.exec();
}
