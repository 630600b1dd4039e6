#pragma once

#include "engine/Notifier.h"
#include "model/PaymentEvent.h"

#include <QList>
#include <QSet>

// What the notification filter remembers during one process: the ids of every event that
// passed through it, and whether the first batch has primed it.
class NotifierBookkeeping
{
public:
    // An event older than this at the moment of the check is never announced.
    static constexpr double recencyLimitSeconds = 600;
    // A billing run can bring thousands of sales in one refresh: this many are announced one
    // by one, the rest in one summary.
    static constexpr int maxSingleNotifications = 4;

    // What one hand-off of a cycle's events asks of the notifier.
    struct Decision
    {
        bool requestPermission = false;
        bool post = false;           // call the notifier, also with an empty batch
        NotificationBatch batch;     // the events in the order given, bounded
    };

    // The unseen events dated no earlier than `now` minus the recency limit, in order.
    static QList<PaymentEvent> recentUnseen(const QList<PaymentEvent> &events, const QSet<QString> &seen, Date now);

    // A stored feed is history: its events are seen and the next batch is filtered normally.
    void primeFromStoredFeed(const QList<PaymentEvent> &feed);
    // Announces the first few of `events` one by one and sums up the rest.
    static NotificationBatch bounded(const QList<PaymentEvent> &events, bool privacyMode = false);
    // Takes one batch and marks all of it seen, whether announced or not.
    Decision handOff(const QList<PaymentEvent> &events, bool notificationsOn, Date now, bool privacyMode = false);

    // An event that must never be announced, such as revenue months old found later.
    void markSeen(const QString &id) { m_seen.insert(id); }

    bool isInitialized() const { return m_initialized; }
    const QSet<QString> &seenEventIds() const { return m_seen; }

private:
    void markSeen(const QList<PaymentEvent> &events);

    bool m_initialized = false;
    QSet<QString> m_seen;
};
