#include "XdgAutostart.h"

#include "platform/AppId.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

XdgAutostart::XdgAutostart(QString configHome, QString running, QString onPath)
    : m_configHome(configHome.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
                                        : std::move(configHome))
    , m_executable(launcher(running.isEmpty() ? QCoreApplication::applicationFilePath() : running,
                            running.isEmpty() ? QStandardPaths::findExecutable(u"quorvane"_s) : onPath))
{
}

QString XdgAutostart::launcher(const QString &running, const QString &onPath)
{
    if (!running.isEmpty() && QFileInfo(running).absoluteDir().dirName() == u"bin"_s)
        return QFileInfo(running).absoluteFilePath();
    return onPath.isEmpty() ? QString() : QFileInfo(onPath).absoluteFilePath();
}

QString XdgAutostart::entryPath() const
{
    return QDir(m_configHome).filePath(u"autostart/quorvane.desktop"_s);
}

QByteArray XdgAutostart::entry(const QString &executable)
{
    // Exec quoting per the desktop-entry rules: double quotes around, backslash before
    // the four reserved characters.
    QString quoted = executable;
    for (const QString &c : {u"\\"_s, u"\""_s, u"`"_s, u"$"_s})
        quoted.replace(c, u"\\"_s + c);
    return ("[Desktop Entry]\n"
            "Type=Application\n"
            "Name=Quorvane\n"
            "Comment=Your Stripe and PayPal revenue in the system tray\n"
            "Exec=\"" + quoted.toUtf8() + "\"\n"
            "Icon=" QUORVANE_APP_ID "\n"
            "Terminal=false\n"
            "X-GNOME-Autostart-enabled=true\n");
}

bool XdgAutostart::setEnabled(bool enabled)
{
    const QString path = entryPath();
    if (!enabled)
        return !QFileInfo::exists(path) || QFile::remove(path);
    if (m_executable.isEmpty())
        return false;
    const QByteArray wanted = entry(m_executable);
    if (QFile existing(path); existing.open(QIODevice::ReadOnly) && existing.readAll() == wanted)
        return true;
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return false;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(wanted);
    return file.commit();
}

bool XdgAutostart::isEnabled() const
{
    return QFileInfo::exists(entryPath());
}
