#include <QApplication>
#include <QSystemTrayIcon>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    app.setQuitOnLastWindowClosed(false);
    QSystemTrayIcon tray;
    tray.show();
    return app.exec();
}
