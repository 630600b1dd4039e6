#include "SystemTrayItem.h"

#include <QCursor>

SystemTrayItem::SystemTrayItem()
{
    connect(&m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
            Q_EMIT activated(m_icon.geometry(), QCursor::pos());
    });
}

void SystemTrayItem::setLabel(const QString &label)
{
    m_icon.setToolTip(label);
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
