// Best records and milestones: the engine's side of BestRecords.
#include "RevenueEngine.h"

#include "engine/BestRecords.h"

void RevenueEngine::updateAchievements()
{
    // Records are the user's own: the demo's made-up revenue never raises one.
    QSet<QUuid> demos;
    for (const Account &a : std::as_const(m_accounts))
        if (a.isDemo())
            demos.insert(a.id);
    QList<PaymentEvent> own = m_shownFeed;
    if (!demos.isEmpty())
        own.removeIf([&](const PaymentEvent &e) { return demos.contains(e.accountId); });
    const BestRecords::Bests bests = BestRecords::compute(own, m_env.calendar);
    assign(m_achievements, BestRecords::updated(m_achievements, bests, now()), &RevenueEngine::achievementsChanged);
    // Written on every call, changed or not; a failed write leaves the published state.
    noteSave(SaveFailures::File::Achievements, m_env.storage.saveAchievements(m_achievements));
}

void RevenueEngine::saveAchievements(const AchievementsState &state)
{
    assign(m_achievements, state, &RevenueEngine::achievementsChanged);
    noteSave(SaveFailures::File::Achievements, m_env.storage.saveAchievements(m_achievements));
    updateAchievements();
}
