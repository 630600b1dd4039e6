#include "ShowInFolder.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace Platform {

void showInFolder(const QString &path)
{
    // org.freedesktop.FileManager1 (Thunar, Nautilus, Dolphin, Nemo) selects the file.
    const QString service = u"org.freedesktop.FileManager1"_s;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected() && bus.interface() && bus.interface()->isServiceRegistered(service).value()) {
        QDBusMessage call = QDBusMessage::createMethodCall(service, u"/org/freedesktop/FileManager1"_s, service,
                                                           u"ShowItems"_s);
        call << QStringList{QUrl::fromLocalFile(path).toString()} << QString();
        if (bus.send(call))
            return;
    }
    QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
}

} // namespace Platform
