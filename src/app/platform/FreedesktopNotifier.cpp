#include "FreedesktopNotifier.h"

#include "platform/AppId.h"
#include "engine/NotificationText.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

using namespace Qt::StringLiterals;

namespace {

const QString service = u"org.freedesktop.Notifications"_s;
const QString path = u"/org/freedesktop/Notifications"_s;
const QString defaultAction = u"default"_s;
const QString dashboardAction = u"open-dashboard"_s;
// Notifications a server never reports closed would pile up: past this, one is forgotten.
constexpr qsizetype postedLimit = 200;

QDBusMessage call(const QString &method)
{
    return QDBusMessage::createMethodCall(service, path, service, method);
}

} // namespace

namespace {

// A click on the notification (its default action, no button) opens the panel.
FreedesktopNotifier::Request plainRequest(const QString &identifier)
{
    return {.actions = {defaultAction, u"Open"_s},
            .hints = {{u"x-quorvane-id"_s, identifier}, {u"desktop-entry"_s, QStringLiteral(QUORVANE_APP_ID)}}};
}

// The sound goes with the notification where the server plays sounds, so its do-not-disturb
// silences it too; `soundFile` empty: the theme's sound by name. Elsewhere the program rings.
void addRing(FreedesktopNotifier::Request &request, const FreedesktopNotifier::Capabilities &server,
             const QString &soundFile)
{
    if (!server.sound)
        request.ringHere = true;
    else if (!soundFile.isEmpty())
        request.hints.insert(u"sound-file"_s, soundFile);
    else
        request.hints.insert(u"sound-name"_s, u"message-new-instant"_s);
}

} // namespace

FreedesktopNotifier::FreedesktopNotifier(QDBusConnection bus, std::shared_ptr<SaleSound> sound, QObject *parent)
    : DesktopNotifier(parent)
    , m_bus(std::move(bus))
    , m_sound(std::move(sound))
{
    m_bus.connect(service, path, service, u"ActionInvoked"_s, this, SLOT(actionInvoked(uint,QString)));
    m_bus.connect(service, path, service, u"NotificationClosed"_s, this, SLOT(closed(uint,uint)));
}

FreedesktopNotifier::Content FreedesktopNotifier::contentFor(const PaymentEvent &event, bool bodyMarkup,
                                                             bool privacyMode)
{
    const QString details = NotificationText::body(event, privacyMode);
    QString body = details.isEmpty() ? event.accountName : event.accountName + u'\n' + details;
    if (bodyMarkup)
        body = body.toHtmlEscaped();
    return {NotificationText::title(event.kind), body, NotificationText::identifier(event)};
}

FreedesktopNotifier::Request FreedesktopNotifier::requestFor(const PaymentEvent &event, const Capabilities &server,
                                                             bool saleSound, const QString &soundFile)
{
    Request request = plainRequest(NotificationText::identifier(event));
    if (server.actions && event.dashboardLink())
        request.actions << dashboardAction << u"Open in Stripe"_s;
    if (saleSound && NotificationText::isSale(event.kind))
        addRing(request, server, soundFile);
    return request;
}

void FreedesktopNotifier::notify(const NotificationBatch &batch)
{
    if (batch.events.isEmpty() && batch.summary.isEmpty())
        return;
    // Whether a server answers, and what it can do, is asked per batch: servers come and go
    // with the desktop session.
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call(u"GetCapabilities"_s)), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, batch](QDBusPendingCallWatcher *w) {
        w->deleteLater();
        const QDBusPendingReply<QStringList> reply = *w;
        if (reply.isError())
            return; // no server: nothing is shown and nothing rings
        const QStringList names = reply.value();
        post(batch, {.bodyMarkup = names.contains(u"body-markup"_s), .actions = names.contains(u"actions"_s),
                     .sound = names.contains(u"sound"_s)});
    });
}

void FreedesktopNotifier::post(const NotificationBatch &batch, const Capabilities &server)
{
    const QString soundFile = m_sound && server.sound ? m_sound->file() : QString();
    // However many sales a refresh brings, the batch rings once: with its first sale, or with
    // the summary when every sale is in it.
    bool ringPending = m_saleSound && batch.rings;
    for (const PaymentEvent &event : batch.events) {
        const Request request = requestFor(event, server, ringPending, soundFile);
        if (NotificationText::isSale(event.kind))
            ringPending = false;
        send(contentFor(event, server.bodyMarkup, batch.privacyMode), request, {event.id, event.dashboardLink()});
    }
    if (batch.summary.isEmpty())
        return;
    Request request = plainRequest(u"quorvane-summary"_s);
    if (ringPending)
        addRing(request, server, soundFile);
    send({batch.summary, QString(), u"quorvane-summary"_s}, request, {});
}

void FreedesktopNotifier::send(const Content &content, const Request &request, const Posted &posted)
{
    QDBusMessage message = call(u"Notify"_s);
    message << u"Quorvane"_s << 0u << m_appIcon << content.summary << content.body << request.actions << request.hints
            << -1;
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message), this);
    // A sale the server cannot play rings once its notification is handed over, whether or
    // not the server took it.
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, ringHere = request.ringHere, posted](QDBusPendingCallWatcher *w) {
                w->deleteLater();
                const QDBusPendingReply<uint> reply = *w;
                if (!reply.isError()) {
                    if (m_posted.size() >= postedLimit)
                        m_posted.erase(m_posted.begin());
                    m_posted.insert(reply.value(), posted);
                }
                if (ringHere && m_sound)
                    m_sound->play();
            });
}

void FreedesktopNotifier::actionInvoked(uint id, const QString &action)
{
    const auto found = m_posted.constFind(id);
    if (found == m_posted.cend())
        return; // another program's notification, or one from before a restart
    if (action == defaultAction)
        Q_EMIT eventActivated(found->eventId);
    else if (action == dashboardAction && found->link)
        Q_EMIT linkActivated(*found->link);
}

void FreedesktopNotifier::closed(uint id, uint)
{
    m_posted.remove(id);
}
