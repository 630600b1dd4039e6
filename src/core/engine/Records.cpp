// Best records and milestones: the feed's side of BestRecords.
#include "Records.h"

#include "engine/BestRecords.h"

Records::Records(Neighbours neighbours, const Storage &storage, TimeContext calendar, std::shared_ptr<Clock> clock,
                 QObject *parent)
    : QObject(parent)
    , m_neighbours(std::move(neighbours))
    , m_storage(storage)
    , m_calendar(std::move(calendar))
    , m_clock(std::move(clock))
{
}

void Records::assign(const AchievementsState &state)
{
    if (m_state == state)
        return;
    m_state = state;
    Q_EMIT changed();
}

void Records::update()
{
    // Records are the user's own: the demo's made-up revenue never raises one.
    QSet<QUuid> demos;
    for (const Account &a : m_neighbours.accounts())
        if (a.isDemo())
            demos.insert(a.id);
    QList<PaymentEvent> own = m_neighbours.shownFeed();
    if (!demos.isEmpty())
        own.removeIf([&](const PaymentEvent &e) { return demos.contains(e.accountId); });
    const BestRecords::Bests bests = BestRecords::compute(own, m_calendar);
    assign(BestRecords::updated(m_state, bests, m_clock->now()));
    // Written on every call, changed or not; a failed write leaves the published state.
    write();
}

void Records::save(const AchievementsState &state)
{
    assign(state);
    write();
    update();
}

void Records::write()
{
    m_neighbours.noteSave(m_storage.saveAchievements(m_state));
}
