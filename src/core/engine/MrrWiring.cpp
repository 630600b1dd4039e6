// What the engine hands the MRR tracker and takes from it.
#include "RevenueEngine.h"

#include "model/CurrencyConverter.h"
#include "engine/Records.h"
#include "mrr/MrrTracker.h"

using namespace Qt::StringLiterals;

void RevenueEngine::applyMrrSettings()
{
    m_mrr->setSettings({m_preferences.mrrCountTrials, m_preferences.mrrGoalUsd, m_preferences.dashboardCurrency});
}

void RevenueEngine::announceMrrGoal(double goalUsd)
{
    // A milestone of its own: the highest goal reached is kept with the records.
    if (goalUsd > m_records->state().mrrGoalReachedUSD) {
        AchievementsState state = m_records->state();
        state.mrrGoalReachedUSD = goalUsd;
        state.mrrGoalReachedDate = now();
        m_records->save(state);
    }
    if (!m_env.notifier)
        return;
    NotificationBatch batch;
    batch.privacyMode = m_preferences.privacyMode;
    batch.summary = m_preferences.privacyMode
        ? u"MRR goal reached"_s
        : u"MRR goal reached: %1"_s.arg(CurrencyConverter::formatCompact(goalUsd, m_preferences.dashboardCurrency));
    m_env.notifier->notify(batch);
}
