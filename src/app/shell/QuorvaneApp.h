#pragma once

#include "engine/RevenueEngine.h"
#include "platform/TrayItem.h"
#include "shell/Appearance.h"
#include "shell/Navigation.h"
#include "shell/TrayPresentation.h"
#include "viewmodels/AccountsModel.h"
#include "viewmodels/AchievementsModel.h"
#include "viewmodels/AtRiskModel.h"
#include "viewmodels/DashboardModel.h"
#include "viewmodels/DrillDownModel.h"
#include "viewmodels/GeneralSettingsModel.h"
#include "viewmodels/MrrModel.h"
#include "viewmodels/UpdateModel.h"
#include "update/UpdateChecker.h"

#include <QElapsedTimer>
#include <QLocale>
#include <QObject>
#include <QPointer>
#include <QPromise>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <memory>

// What differs between the release program and the test build of the same application.
struct AppOptions
{
    EngineEnvironment environment;
    UpdateCheckerEnvironment update;
    QLocale locale;
    QString autostartConfigHome; // empty: the user's real configuration folder
    std::function<bool()> keyringNeedsSetup; // the account editor says so before a key is saved
    bool createTray = true;
    // Start with the demo business, adding it when there is none; ignored once the user has
    // accounts of their own, whose figures must stay their own.
    bool demo = false;
};

// The application entry: owns the engine and the update checker for the life of the
// process, the view models, the tray item and the panel window.
class ScreenPresses;

class QuorvaneApp : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application object")
    Q_PROPERTY(Navigation *navigation READ navigation CONSTANT)
    Q_PROPERTY(DashboardModel *dashboard READ dashboard CONSTANT)
    Q_PROPERTY(GeneralSettingsModel *general READ general CONSTANT)
    Q_PROPERTY(AccountsModel *accounts READ accounts CONSTANT)
    Q_PROPERTY(UpdateModel *update READ update CONSTANT)
    // The tallest the window may be on the screen it opens on (the feed scrolls beyond).
    Q_PROPERTY(int maxPanelHeight READ maxPanelHeight NOTIFY maxPanelHeightChanged)
    // Transparent room around the panel for its shadow; 0 where windows cannot be translucent.
    Q_PROPERTY(int frameMargin READ frameMargin CONSTANT)
    Q_PROPERTY(AchievementsModel *achievements READ achievements CONSTANT)
    Q_PROPERTY(DrillDownModel *drillDown READ drillDown CONSTANT)
    Q_PROPERTY(AtRiskModel *atRisk READ atRisk CONSTANT)
    Q_PROPERTY(MrrModel *mrr READ mrr CONSTANT)
    // No tray host shows the item: the panel is an ordinary window, found in the task switcher
    // and closed by its close button, and opened again by launching the program.
    Q_PROPERTY(bool windowed READ windowed CONSTANT)

public:
    static constexpr int panelWidth = 440;
    static constexpr int gapFromBar = 6;

    explicit QuorvaneApp(AppOptions options, QObject *parent = nullptr);
    ~QuorvaneApp() override;

    // Creates the tray item and loads the (hidden) panel window.
    bool start();

    RevenueEngine *engine() { return m_engine.get(); }
    Navigation *navigation() { return &m_navigation; }
    DashboardModel *dashboard() { return m_dashboard.get(); }
    GeneralSettingsModel *general() { return m_general.get(); }
    AccountsModel *accounts() { return m_accounts.get(); }
    UpdateChecker *updateChecker() { return m_updateChecker.get(); }
    UpdateModel *update() { return m_update.get(); }
    AchievementsModel *achievements() { return m_achievements.get(); }
    DrillDownModel *drillDown() { return m_drillDown.get(); }
    AtRiskModel *atRisk() { return m_atRisk.get(); }
    MrrModel *mrr() { return m_mrr.get(); }
    TrayItem *tray() { return m_tray.get(); }
    QQuickWindow *window() const { return m_window; }
    QQmlApplicationEngine *qmlEngine() { return &m_qml; }

    // Shows the panel next to the tray item, or hides it when it is open.
    void togglePanel(const QRect &trayGeometry, const QPoint &clickPoint);
    void showPanelAt(const QPoint &topLeft);
    // Caps the panel's height to what `area`, the free part of a screen, has room for.
    void fitPanelTo(const QRect &area);
    // Shows the panel (raising it when it is open): where the tray item was not clicked, such as
    // a second launch or a notification.
    void openPanel();
    // Shows the panel again where it was and on the pane it showed (after a dialog of its own).
    void reopenPanel();
    // The panel on the dashboard with the event's row open.
    void openEvent(const QString &eventId);
    bool windowed() const { return m_windowed; }
    Q_INVOKABLE void hidePanel();
    int maxPanelHeight() const { return m_maxPanelHeight; }
    int frameMargin() const { return m_frameMargin; }

    // "Update" while this version is blocked, else the running figure.
    QString trayLabel() const;
    TrayPresentation trayPresentation() const;
    // What the tray item shows: the above, and a failed refresh in its tooltip.
    TrayPresentation shownInTray() const;
    QImage trayIcon() const;

    Q_INVOKABLE void quit();
    Q_INVOKABLE void openUrl(const QUrl &url);

Q_SIGNALS:
    void maxPanelHeightChanged();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void updateTray();
    void applyPreferences();
    void closeOnPressOutside(const QPoint &globalPosition);
    void startUpdateChecks();

    // Finished when the panel's first frame is drawn, or at start when the panel stays shut: the
    // stored feed is read after it, so that frame has the cores to itself.
    QPromise<void> m_firstFrame;
    AppOptions m_options;
    std::unique_ptr<RevenueEngine> m_engine;
    std::unique_ptr<UpdateChecker> m_updateChecker;
    std::unique_ptr<UpdateModel> m_update;
    bool m_updateCheckStarted = false;
    bool m_wasBlocked = false;
    Appearance m_appearance;
    Navigation m_navigation;
    std::unique_ptr<DashboardModel> m_dashboard;
    std::unique_ptr<GeneralSettingsModel> m_general;
    std::unique_ptr<AccountsModel> m_accounts;
    std::unique_ptr<AchievementsModel> m_achievements;
    std::unique_ptr<DrillDownModel> m_drillDown;
    std::unique_ptr<AtRiskModel> m_atRisk;
    std::unique_ptr<MrrModel> m_mrr;
    std::unique_ptr<TrayItem> m_tray;
    std::unique_ptr<ScreenPresses> m_presses;
    QElapsedTimer m_closedByPress; // when a press outside last closed the panel, and where
    QPoint m_closingPress;
    std::unique_ptr<LoginItem> m_loginItem;
    QQmlApplicationEngine m_qml;
    QPointer<QQuickWindow> m_window;
    bool m_wasActive = false;
    bool m_deliveringEscape = false;
    bool m_windowed = false;
    int m_maxPanelHeight = 100000;
    int m_frameMargin = 0;
};
