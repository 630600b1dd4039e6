#pragma once

#include "platform/Notifications.h"
#include "platform/SaleSound.h"

#include <QDBusConnection>
#include <QHash>
#include <memory>

// Notifications through the desktop's org.freedesktop.Notifications service. A server on the
// bus is what counts as permission: without one nothing is posted and nothing rings. Clicking
// a notification opens its event; servers with actions also offer the event's Stripe page.
class FreedesktopNotifier final : public DesktopNotifier
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
    // What the server says it can do, asked per batch.
    struct Capabilities
    {
        bool bodyMarkup = false;
        bool actions = false;
        bool sound = false;
    };
    // What a notification of an event asks of the server beyond its text.
    struct Request
    {
        QStringList actions; // key, label, key, label...
        QVariantMap hints;
        bool ringHere = false; // the server plays no sound: the program's own player does
    };

    FreedesktopNotifier(QDBusConnection bus, std::shared_ptr<SaleSound> sound, QObject *parent = nullptr);

    // The icon the server shows beside every notification: a name or a file:// URI.
    void setAppIcon(const QString &icon) { m_appIcon = icon; }

    // Nothing to ask: the desktop has no per-application permission for notifications.
    void requestAuthorizationIfNeeded() override {}
    void notify(const NotificationBatch &batch) override;
    void setSaleSound(bool on) override { m_saleSound = on; }

    // Servers have no subtitle: the account name is the body's first line (in privacy mode the
    // only one). A server that reads markup in bodies gets the text escaped.
    static Content contentFor(const PaymentEvent &event, bool bodyMarkup, bool privacyMode);
    // A sale's sound goes through the server where it plays sounds, so the desktop's
    // do-not-disturb silences it too; `soundFile` empty: the theme's sound by name.
    static Request requestFor(const PaymentEvent &event, const Capabilities &server, bool saleSound,
                              const QString &soundFile);

private Q_SLOTS:
    void actionInvoked(uint id, const QString &action);
    void closed(uint id, uint reason);

private:
    // The event behind a notification still on screen; none for a batch's summary.
    struct Posted
    {
        QString eventId;
        std::optional<QUrl> link;
    };
    void post(const NotificationBatch &batch, const Capabilities &server);
    void send(const Content &content, const Request &request, const Posted &posted);

    QDBusConnection m_bus;
    std::shared_ptr<SaleSound> m_sound;
    QString m_appIcon;
    bool m_saleSound = true;
    QHash<uint, Posted> m_posted;
};
