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
    void notify(const QList<PaymentEvent> &newEvents, bool privacyMode) override;

    // Servers have no subtitle: the account name is the body's first line (in privacy mode the
    // only one). A server that reads markup in bodies gets the text escaped.
    static Content contentFor(const PaymentEvent &event, bool bodyMarkup, bool privacyMode);

private:
    void post(const QList<PaymentEvent> &events, bool bodyMarkup, bool privacyMode);

    QDBusConnection m_bus;
    std::shared_ptr<SaleSound> m_sound;
    QString m_appIcon;
};
