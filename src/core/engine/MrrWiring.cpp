// What the engine hands the MRR tracker and takes from it.
#include "RevenueEngine.h"

#include "model/CurrencyConverter.h"
#include "mrr/MrrTracker.h"

using namespace Qt::StringLiterals;

void RevenueEngine::applyMrrSettings()
{
    m_mrr->setSettings({m_preferences.mrrCountTrials, m_preferences.mrrGoalUsd, m_preferences.dashboardCurrency});
}

void RevenueEngine::announceMrrGoal(double goalUsd)
{
    if (!m_env.notifier)
        return;
    NotificationBatch batch;
    batch.privacyMode = m_preferences.privacyMode;
    batch.summary = m_preferences.privacyMode
        ? u"MRR goal reached"_s
        : u"MRR goal reached: %1"_s.arg(CurrencyConverter::formatCompact(goalUsd, m_preferences.dashboardCurrency));
    m_env.notifier->notify(batch);
}
