#pragma once

#include "engine/EngineTypes.h"
#include "model/Account.h"
#include "model/DailyBucket.h"
#include "model/PaymentEvent.h"
#include "model/Preferences.h"
#include "storage/Storage.h"
#include "util/Cancellation.h"
#include "util/Clock.h"
#include "util/TaskGroup.h"
#include "util/TimeContext.h"

#include <QCoroTask>
#include <QFuture>
#include <QObject>
#include <functional>
#include <memory>

// The stored feed (every known account's events), the shown feed (the enabled accounts'
// events), their days, and the ranges and totals in the user's calendar. Reads the stored
// feed at start, on a worker thread when asked to.
class FeedStore : public QObject
{
    Q_OBJECT

public:
    static constexpr int retentionDays = 95;

    // What the data folder held: the events, newest first, and the damage found reading them.
    struct Stored
    {
        QList<PaymentEvent> events;
        QList<FileDamage> damaged;
    };

    struct Neighbours
    {
        std::function<QList<Account>()> accounts;
        // Whether the accounts file did not read completely: events of unknown accounts stay.
        std::function<bool()> accountsDamaged = [] { return false; };
        // The custom range's ends.
        std::function<Preferences()> preferences;
        std::function<std::optional<QUuid>()> selectedAccount = [] { return std::optional<QUuid>(); };
        // Takes the stored feed a background read brought, once, on the main thread.
        std::function<void(Stored)> storedFeedRead = [](Stored) {};
    };

    FeedStore(Neighbours neighbours, TimeContext calendar, std::shared_ptr<Clock> clock, QObject *parent = nullptr);

    const QList<PaymentEvent> &stored() const { return m_feed; }
    // The events of the enabled accounts, newest first: what every total, list and label shows.
    const QList<PaymentEvent> &shown() const { return m_shownFeed; }
    const QList<DailyBucket> &dailyBuckets() const { return m_dailyBuckets; }
    // True while a background read of the stored feed has not handed it over yet.
    bool isPending() const { return m_pending; }

    // Touches nothing but the data folder: safe on any thread.
    static Stored read(const Storage &storage);
    // Reads on a worker thread once `after` is finished, then hands the feed to the
    // neighbours' storedFeedRead through the event loop, never from inside this call.
    void readInBackground(Storage storage, QFuture<void> after);
    // Takes a stored feed as it is, without announcing it (its owner does, once); false when
    // it holds no events.
    bool adoptStored(QList<PaymentEvent> events);

    // Replaces the stored feed; events of accounts that are not known are left out.
    void set(QList<PaymentEvent> feed);
    // Derives the shown feed and the days from the stored feed and the enabled accounts.
    void show();
    void rebuildBuckets();

    // Merges by id (a new event replaces a stored one), drops events before `horizon` and
    // those `superseded`, and sorts newest first.
    static QList<PaymentEvent> merge(const QList<PaymentEvent> &feed, const QList<PaymentEvent> &newEvents,
                                     Date horizon, const QSet<QString> &superseded = {});

    Date startDate(TimeRange range) const;
    Date endDate(TimeRange range) const;
    Totals totals(TimeRange range) const;
    QList<DailyBucket> buckets(TimeRange range) const;
    QList<PaymentEvent> filteredFeed() const;
    // Positions in shown() of the filtered feed.
    QList<qsizetype> filteredFeedIndices() const;
    double revenueIn(Date start, Date end) const;
    double todayRevenueUSD() const;
    double thisWeekRevenueUSD() const;
    double thisMonthRevenueUSD() const;

Q_SIGNALS:
    void feedChanged();
    void dailyBucketsChanged();

private:
    QCoro::Task<> readInBackground(Storage storage, QFuture<void> after, CancellationToken token);

    Neighbours m_neighbours;
    TimeContext m_calendar;
    std::shared_ptr<Clock> m_clock;
    QList<DailyBucket> m_dailyBuckets;
    QList<PaymentEvent> m_feed;      // stored: the events of every known account
    QList<PaymentEvent> m_shownFeed; // the enabled accounts' events
    bool m_pending = false;
    // Declared last so it goes first: the background read stops before the state it fills.
    TaskGroup m_tasks;
};
