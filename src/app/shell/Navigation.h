#pragma once

#include "model/Enums.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>
#include <array>
#include <optional>

// The tab of the settings panel.
enum class SettingsPane { General, Accounts, About };
QString settingsPaneRaw(SettingsPane pane);
std::optional<SettingsPane> settingsPaneFromRaw(QStringView raw);
inline constexpr std::array allSettingsPanes = {SettingsPane::General, SettingsPane::Accounts, SettingsPane::About};

// Which pane the window shows; settings carries its tab and drill-down its kind.
struct AppPane
{
    enum class Case { Settings, DrillDown, Dashboard, AtRisk, Achievements, Mrr };
    Case kind = Case::Dashboard;
    SettingsPane settingsTab = SettingsPane::General; // meaningful for Settings only
    RevenueKind drillDownKind = RevenueKind::New;     // meaningful for DrillDown only

    static AppPane dashboard() { return {}; }
    static AppPane settings(SettingsPane tab) { return {Case::Settings, tab, RevenueKind::New}; }
    static AppPane drillDown(RevenueKind kind) { return {Case::DrillDown, SettingsPane::General, kind}; }
    static AppPane atRisk() { return {Case::AtRisk, SettingsPane::General, RevenueKind::New}; }
    static AppPane achievements() { return {Case::Achievements, SettingsPane::General, RevenueKind::New}; }
    static AppPane mrr() { return {Case::Mrr, SettingsPane::General, RevenueKind::New}; }

    // Equal when the case and its own payload are equal; other payload fields do not count.
    friend bool operator==(const AppPane &a, const AppPane &b);
};

// The window's one navigation value, shared with QML. There is no history: "back" always
// means the dashboard.
class Navigation : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by the application")
    Q_PROPERTY(QString pane READ paneName NOTIFY paneChanged)
    Q_PROPERTY(QString settingsTab READ settingsTabName NOTIFY paneChanged)
    Q_PROPERTY(QString drillDownKind READ drillDownKindName NOTIFY paneChanged)

public:
    explicit Navigation(QObject *parent = nullptr);

    AppPane current() const { return m_current; }
    void setCurrent(const AppPane &pane);

    // "dashboard", "settings", "drillDown", "atRisk", "achievements", "mrr".
    QString paneName() const;
    QString settingsTabName() const;
    QString drillDownKindName() const;

    Q_INVOKABLE void showDashboard() { setCurrent(AppPane::dashboard()); }
    // Unknown tab names open the general tab.
    Q_INVOKABLE void showSettings(const QString &tab);
    // Unknown kind names are ignored.
    Q_INVOKABLE void showDrillDown(const QString &kind);
    Q_INVOKABLE void showAtRisk() { setCurrent(AppPane::atRisk()); }
    Q_INVOKABLE void showAchievements() { setCurrent(AppPane::achievements()); }
    Q_INVOKABLE void showMrr() { setCurrent(AppPane::mrr()); }

Q_SIGNALS:
    void paneChanged();

private:
    AppPane m_current;
};
