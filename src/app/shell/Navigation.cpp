#include "Navigation.h"

using namespace Qt::StringLiterals;

QString settingsPaneRaw(SettingsPane pane)
{
    switch (pane) {
    case SettingsPane::General: return u"general"_s;
    case SettingsPane::Accounts: return u"accounts"_s;
    case SettingsPane::About: return u"about"_s;
    }
    return {};
}

std::optional<SettingsPane> settingsPaneFromRaw(QStringView raw)
{
    for (SettingsPane pane : allSettingsPanes)
        if (settingsPaneRaw(pane) == raw)
            return pane;
    return std::nullopt;
}

bool operator==(const AppPane &a, const AppPane &b)
{
    if (a.kind != b.kind)
        return false;
    switch (a.kind) {
    case AppPane::Case::Settings: return a.settingsTab == b.settingsTab;
    case AppPane::Case::DrillDown: return a.drillDownKind == b.drillDownKind;
    default: return true;
    }
}

Navigation::Navigation(QObject *parent)
    : QObject(parent)
{
}

void Navigation::setCurrent(const AppPane &pane)
{
    if (pane == m_current)
        return;
    m_current = pane;
    Q_EMIT paneChanged();
}

QString Navigation::paneName() const
{
    switch (m_current.kind) {
    case AppPane::Case::Settings: return u"settings"_s;
    case AppPane::Case::DrillDown: return u"drillDown"_s;
    case AppPane::Case::Dashboard: return u"dashboard"_s;
    case AppPane::Case::AtRisk: return u"atRisk"_s;
    case AppPane::Case::Achievements: return u"achievements"_s;
    case AppPane::Case::Mrr: return u"mrr"_s;
    }
    return {};
}

QString Navigation::settingsTabName() const
{
    return settingsPaneRaw(m_current.settingsTab);
}

QString Navigation::drillDownKindName() const
{
    return toRaw(m_current.drillDownKind);
}

void Navigation::showSettings(const QString &tab)
{
    setCurrent(AppPane::settings(settingsPaneFromRaw(tab).value_or(SettingsPane::General)));
}

void Navigation::showDrillDown(const QString &kind)
{
    if (const auto k = fromRaw<RevenueKind>(kind))
        setCurrent(AppPane::drillDown(*k));
}
