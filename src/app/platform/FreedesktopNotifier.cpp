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

FreedesktopNotifier::Content FreedesktopNotifier::contentFor(const PaymentEvent &event, bool bodyMarkup,
                                                             bool privacyMode)
{
    const QString details = NotificationText::body(event, privacyMode);
    QString body = details.isEmpty() ? event.accountName : event.accountName + u'\n' + details;
    if (bodyMarkup)
        body = body.toHtmlEscaped();
    return {NotificationText::title(event.kind), body, NotificationText::identifier(event)};
}

void FreedesktopNotifier::notify(const QList<PaymentEvent> &newEvents, bool privacyMode)
{
    if (newEvents.isEmpty())
        return;
    // Whether a server answers, and how it reads bodies, is asked per batch: servers come
    // and go with the desktop session.
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call(u"GetCapabilities"_s)), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [=, this](QDBusPendingCallWatcher *w) {
        w->deleteLater();
        const QDBusPendingReply<QStringList> capabilities = *w;
        if (capabilities.isError())
            return; // no server: nothing is shown and nothing rings
        post(newEvents, capabilities.value().contains(u"body-markup"_s), privacyMode);
    });
}

void FreedesktopNotifier::post(const QList<PaymentEvent> &events, bool bodyMarkup, bool privacyMode)
{
    for (const PaymentEvent &event : events) {
        const Content content = contentFor(event, bodyMarkup, privacyMode);
        QDBusMessage message = call(u"Notify"_s);
        message << u"Quorvane"_s << 0u << m_appIcon << content.summary << content.body << QStringList()
                << QVariantMap{{u"x-quorvane-id"_s, content.identifier}} << -1;
        auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message), this);
        const bool sale = NotificationText::isSale(event.kind);
        // Each sale rings once its notification is handed over, whether or not the server took it.
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, sale](QDBusPendingCallWatcher *w) {
            w->deleteLater();
            if (sale && m_sound)
                m_sound->play();
        });
    }
}
