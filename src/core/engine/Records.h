#pragma once

#include "model/Account.h"
#include "model/Achievement.h"
#include "model/PaymentEvent.h"
#include "storage/Storage.h"
#include "util/Clock.h"
#include "util/TimeContext.h"

#include <QObject>
#include <functional>
#include <memory>

// Best records and milestones from the shown feed, written to "achievements.json" on every
// update (BestRecords decides them).
class Records : public QObject
{
    Q_OBJECT

public:
    // What it reads from its neighbours, each time anew.
    struct Neighbours
    {
        std::function<QList<Account>()> accounts;
        std::function<QList<PaymentEvent>()> shownFeed;
        // Takes a write's outcome for the user and the retry.
        std::function<void(const Storage::Saved &)> noteSave = [](const Storage::Saved &) {};
    };

    // `storage` outlives this.
    Records(Neighbours neighbours, const Storage &storage, TimeContext calendar, std::shared_ptr<Clock> clock,
            QObject *parent = nullptr);

    const AchievementsState &state() const { return m_state; }
    // What the data folder held at start; announces nothing.
    void restore(AchievementsState state) { m_state = std::move(state); }
    // Raises the records the feed beats and unlocks the milestones they reach.
    void update();
    // Publishes and saves records the user raised by hand; update() then unlocks what they reach.
    void save(const AchievementsState &state);
    // Writes the file again (a failed save is retried this way).
    void write();

Q_SIGNALS:
    void changed();

private:
    void assign(const AchievementsState &state);

    Neighbours m_neighbours;
    const Storage &m_storage;
    TimeContext m_calendar;
    std::shared_ptr<Clock> m_clock;
    AchievementsState m_state;
};
