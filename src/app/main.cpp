#include "platform/KeychainSecretStore.h"
#include "platform/Notifications.h"
#include "shell/Fonts.h"
#include "shell/QuorvaneApp.h"
#include "shell/StartupProbe.h"
#include "shell/Symbols.h"
#include "update/BuildInfo.h"

#include <QApplication>
#include <QDir>
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
    // A menu-bar program: closing the panel never ends it; the power button does.
    QApplication::setQuitOnLastWindowClosed(false);
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    qml_register_types_Quorvane();
    installApplicationFont();

    AppOptions options;
    // `make run` on a machine without keys: QUORVANE_DEMO=1, or --demo.
    options.demo = app.arguments().contains(QStringLiteral("--demo")) || qEnvironmentVariable("QUORVANE_DEMO") == u"1";
    options.environment.secrets = makeDesktopSecretStore();
    options.environment.readFeedInBackground = true; // the tray is up before a long feed is read
    options.environment.notifier = Platform::createNotifier(options.environment.storage.folder() + u"/sounds"_s,
                                                            notificationIcon());
    QuorvaneApp quorvane(options);
    if (!quorvane.start())
        return 1;
    installStartupProbe(quorvane);
    return app.exec();
}
