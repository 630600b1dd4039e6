#include "SystemTrayItem.h"

#include <QCursor>

SystemTrayItem::SystemTrayItem()
    : m_menu(createTrayMenu(this))
{
    m_icon.setContextMenu(m_menu.get());
    connect(&m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick
            || reason == QSystemTrayIcon::MiddleClick)
            Q_EMIT activated(m_icon.geometry(), QCursor::pos());
    });
}

void SystemTrayItem::setLabel(const QString &)
{
    // No room for text beside the icon: the tooltip carries the figure.
}

void SystemTrayItem::setToolTip(const QString &title, const QString &text)
{
    m_icon.setToolTip(text.isEmpty() ? title : title + QLatin1Char('\n') + text);
}

void SystemTrayItem::setIcon(const QImage &icon)
{
    m_icon.setIcon(QIcon(QPixmap::fromImage(icon)));
}

void SystemTrayItem::show()
{
    m_icon.show();
}
