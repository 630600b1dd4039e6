#pragma once

#include "platform/TrayItem.h"

#include <QSystemTrayIcon>

// Qt's own tray icon, for desktops without a StatusNotifier host: it cannot show text, so
// the figure goes into the tooltip.
class SystemTrayItem final : public TrayItem
{
    Q_OBJECT
public:
    SystemTrayItem();
    void setLabel(const QString &label) override;
    void setToolTip(const QString &title, const QString &text) override;
    void setIcon(const QImage &icon) override;
    void show() override;
    QString kind() const override { return QStringLiteral("QSystemTrayIcon"); }

private:
    QSystemTrayIcon m_icon;
};
