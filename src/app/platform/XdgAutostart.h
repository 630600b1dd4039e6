#pragma once

#include "platform/TrayItem.h"

#include <QString>

// Start at login on freedesktop desktops: a .desktop entry in the autostart folder.
class XdgAutostart final : public LoginItem
{
public:
    // `configHome` empty: $XDG_CONFIG_HOME or ~/.config. `running` and `onPath` stand in for
    // the running program and the `quorvane` found on PATH (tests).
    explicit XdgAutostart(QString configHome = {}, QString running = {}, QString onPath = {});

    // Writes the entry when it is missing or names another program; false where no installed
    // program can be named.
    bool setEnabled(bool enabled) override;
    bool isEnabled() const override;
    QString entryPath() const;
    static QByteArray entry(const QString &executable);
    // What the entry starts: the running program where it is installed (in a "bin" folder),
    // else the one on PATH; never a build folder, which moves or goes. Empty: neither.
    static QString launcher(const QString &running, const QString &onPath);

private:
    QString m_configHome;
    QString m_executable;
};
