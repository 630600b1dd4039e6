#include "NotifierBookkeeping.h"

#include "engine/NotificationText.h"

QList<PaymentEvent> NotifierBookkeeping::recentUnseen(const QList<PaymentEvent> &events, const QSet<QString> &seen,
                                                      Date now)
{
    const Date cutoff = now.addingSeconds(-recencyLimitSeconds);
    QList<PaymentEvent> selected;
    for (const PaymentEvent &e : events)
        if (!seen.contains(e.id) && !(e.date < cutoff))
            selected.append(e);
    return selected;
}

NotificationBatch NotifierBookkeeping::bounded(const QList<PaymentEvent> &events, bool privacyMode)
{
    NotificationBatch batch;
    batch.privacyMode = privacyMode;
    batch.events = events.mid(0, maxSingleNotifications);
    const QList<PaymentEvent> rest = events.mid(maxSingleNotifications);
    if (!rest.isEmpty())
        batch.summary = NotificationText::summary(rest, privacyMode);
    batch.rings = std::any_of(events.cbegin(), events.cend(),
                              [](const PaymentEvent &e) { return NotificationText::isSale(e.kind); });
    return batch;
}

void NotifierBookkeeping::primeFromStoredFeed(const QList<PaymentEvent> &feed)
{
    if (feed.isEmpty())
        return;
    markSeen(feed);
    m_initialized = true;
}

NotifierBookkeeping::Decision NotifierBookkeeping::handOff(const QList<PaymentEvent> &events, bool notificationsOn,
                                                           Date now, bool privacyMode)
{
    Decision decision;
    if (!m_initialized) {
        // The first batch of a process without stored history only learns what exists, so a
        // fresh start does not announce the whole backlog.
        m_initialized = true;
        decision.requestPermission = true;
        m_seen.clear();
        markSeen(events);
        return decision;
    }
    if (notificationsOn) {
        decision.post = true;
        decision.batch = bounded(recentUnseen(events, m_seen, now), privacyMode);
    }
    markSeen(events); // switching notifications on later must not replay these
    return decision;
}

void NotifierBookkeeping::markSeen(const QList<PaymentEvent> &events)
{
    for (const PaymentEvent &e : events)
        m_seen.insert(e.id);
}
