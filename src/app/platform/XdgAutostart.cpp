#include "XdgAutostart.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

XdgAutostart::XdgAutostart(QString configHome, QString executable)
    : m_configHome(configHome.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
                                        : std::move(configHome))
    , m_executable(executable.isEmpty() ? QCoreApplication::applicationFilePath() : std::move(executable))
{
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
            "Comment=Real-time MRR tracker for Stripe + PayPal\n"
            "Exec=\"" + quoted.toUtf8() + "\"\n"
            "Terminal=false\n"
            "X-GNOME-Autostart-enabled=true\n");
}

bool XdgAutostart::setEnabled(bool enabled)
{
    const QString path = entryPath();
    if (!enabled)
        return !QFileInfo::exists(path) || QFile::remove(path);
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return false;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(entry(m_executable));
    return file.commit();
}

bool XdgAutostart::isEnabled() const
{
    return QFileInfo::exists(entryPath());
}
