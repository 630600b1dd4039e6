#pragma once

#include "platform/TrayItem.h"

#include <QMenu>
#include <QSystemTrayIcon>
#include <memory>

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
    bool isSeen() const override { return QSystemTrayIcon::isSystemTrayAvailable(); }

private:
    QSystemTrayIcon m_icon;
    std::unique_ptr<QMenu> m_menu;
};
