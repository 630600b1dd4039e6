#include "FreedesktopNotifier.h"

#include "engine/NotificationText.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

using namespace Qt::StringLiterals;

namespace {

const QString service = u"org.freedesktop.Notifications"_s;
const QString path = u"/org/freedesktop/Notifications"_s;

QDBusMessage call(const QString &method)
{
    return QDBusMessage::createMethodCall(service, path, service, method);
}

} // namespace

FreedesktopNotifier::FreedesktopNotifier(QDBusConnection bus, std::shared_ptr<SaleSound> sound, QObject *parent)
    : QObject(parent)
    , m_bus(std::move(bus))
    , m_sound(std::move(sound))
{
}

FreedesktopNotifier::Content FreedesktopNotifier::contentFor(const PaymentEvent &event, bool bodyMarkup)
{
    QString body = event.accountName + u'\n' + NotificationText::body(event);
    if (bodyMarkup)
        body = body.toHtmlEscaped();
    return {NotificationText::title(event.kind), body, NotificationText::identifier(event)};
}

void FreedesktopNotifier::notify(const NotificationBatch &batch)
{
    if (batch.events.isEmpty() && batch.summary.isEmpty())
        return;
    // Whether a server answers, and how it reads bodies, is asked per batch: servers come
    // and go with the desktop session.
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call(u"GetCapabilities"_s)), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, batch](QDBusPendingCallWatcher *w) {
        w->deleteLater();
        const QDBusPendingReply<QStringList> capabilities = *w;
        if (capabilities.isError())
            return; // no server: nothing is shown and nothing rings
        post(batch, capabilities.value().contains(u"body-markup"_s));
    });
}

void FreedesktopNotifier::post(const NotificationBatch &batch, bool bodyMarkup)
{
    // The batch rings once, when its first notification is handed over, whether or not the
    // server took it.
    const auto ring = std::make_shared<bool>(batch.rings);
    for (const PaymentEvent &event : batch.events)
        send(contentFor(event, bodyMarkup), ring);
    if (!batch.summary.isEmpty())
        send({batch.summary, QString(), u"quorvane-summary"_s}, ring);
}

void FreedesktopNotifier::send(const Content &content, const std::shared_ptr<bool> &ringOnAnswer)
{
    QDBusMessage message = call(u"Notify"_s);
    message << u"Quorvane"_s << 0u << m_appIcon << content.summary << content.body << QStringList()
            << QVariantMap{{u"x-quorvane-id"_s, content.identifier}} << -1;
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, ringOnAnswer](QDBusPendingCallWatcher *w) {
        w->deleteLater();
        if (std::exchange(*ringOnAnswer, false) && m_sound)
            m_sound->play();
    });
}
