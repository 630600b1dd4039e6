#pragma once

#include "platform/TrayItem.h"

#include <QString>

// Start at login on freedesktop desktops: a .desktop entry in the autostart folder.
class XdgAutostart final : public LoginItem
{
public:
    // `configHome` empty: $XDG_CONFIG_HOME or ~/.config.
    explicit XdgAutostart(QString configHome = {}, QString executable = {});

    bool setEnabled(bool enabled) override;
    bool isEnabled() const override;
    QString entryPath() const;
    static QByteArray entry(const QString &executable);

private:
    QString m_configHome;
    QString m_executable;
};
