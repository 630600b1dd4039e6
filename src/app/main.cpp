#include "platform/KeychainSecretStore.h"
#include "shell/Fonts.h"
#include "shell/QuorvaneApp.h"
#include "update/BuildInfo.h"

#include <QApplication>
#include <QQuickStyle>

extern void qml_register_types_Quorvane();

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
    QuorvaneApp quorvane(options);
    if (!quorvane.start())
        return 1;
    return app.exec();
}
