// Best records and milestones: the engine's side of BestRecords.
#include "RevenueEngine.h"

#include "engine/BestRecords.h"

void RevenueEngine::updateAchievements()
{
    const BestRecords::Bests bests = BestRecords::compute(m_feed, m_env.calendar);
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
