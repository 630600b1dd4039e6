#pragma once

#include "engine/Notifier.h"
#include "platform/SaleSound.h"

#include <QDBusConnection>
#include <QObject>
#include <memory>

// Notifications through the desktop's org.freedesktop.Notifications service. A server on the
// bus is what counts as permission: without one nothing is posted and nothing rings.
class FreedesktopNotifier final : public QObject, public Notifier
{
    Q_OBJECT
public:
    // What one notification carries to the server.
    struct Content
    {
        QString summary;
        QString body;
        QString identifier; // in the hint "x-quorvane-id"
    };

    FreedesktopNotifier(QDBusConnection bus, std::shared_ptr<SaleSound> sound, QObject *parent = nullptr);

    // The icon the server shows beside every notification: a name or a file:// URI.
    void setAppIcon(const QString &icon) { m_appIcon = icon; }

    // Nothing to ask: the desktop has no per-application permission for notifications.
    void requestAuthorizationIfNeeded() override {}
    void notify(const NotificationBatch &batch) override;

    // Servers have no subtitle: the account name is the body's first line. A server that
    // reads markup in bodies gets the text escaped.
    static Content contentFor(const PaymentEvent &event, bool bodyMarkup);

private:
    void post(const NotificationBatch &batch, bool bodyMarkup);
    void send(const Content &content, const std::shared_ptr<bool> &ringOnAnswer);

    QDBusConnection m_bus;
    std::shared_ptr<SaleSound> m_sound;
    QString m_appIcon;
};
