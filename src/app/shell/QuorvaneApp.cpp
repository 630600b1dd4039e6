#include "QuorvaneApp.h"

#include "model/CurrencyConverter.h"
#include "mrr/MrrTracker.h"
#include "platform/Notifications.h"
#include "platform/ScreenPresses.h"
#include "platform/ShowInFolder.h"
#include "shell/PanelPlacement.h"
#include "shell/Symbols.h"
#include "shell/TrayPresentation.h"
#include "shell/TrayProblem.h"
#include "viewmodels/Formatting.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QQuickItem>
#include <QScreen>

using namespace Qt::StringLiterals;

namespace {

EngineEnvironment readingFeedAfter(EngineEnvironment environment, QPromise<void> &firstFrame)
{
    firstFrame.start();
    environment.feedReadAfter = firstFrame.future();
    return environment;
}

} // namespace

QuorvaneApp::QuorvaneApp(AppOptions options, QObject *parent)
    : QObject(parent)
    , m_options(std::move(options))
    , m_engine(std::make_unique<RevenueEngine>(readingFeedAfter(m_options.environment, m_firstFrame)))
    , m_updateChecker(std::make_unique<UpdateChecker>(m_options.update))
    , m_appearance(nullptr)
{
    m_dashboard = std::make_unique<DashboardModel>(m_engine.get(), m_options.locale);
    m_general = std::make_unique<GeneralSettingsModel>(m_engine.get());
    m_accounts = std::make_unique<AccountsModel>(m_engine.get());
    m_accounts->setKeyringProbe(m_options.keyringNeedsSetup);
    m_update = std::make_unique<UpdateModel>(m_updateChecker.get());
    connect(m_updateChecker.get(), &UpdateChecker::stateChanged, this, [this] {
        // Once the block lifts the panel starts over on the dashboard.
        const bool blocked = m_updateChecker->isBlocked();
        if (m_wasBlocked && !blocked)
            m_navigation.showDashboard();
        if (m_tray && blocked != m_wasBlocked)
            m_tray->setIcon(trayIcon());
        m_wasBlocked = blocked;
        updateTray();
    });
    m_achievements = std::make_unique<AchievementsModel>(m_engine.get(), m_options.locale);
    m_drillDown = std::make_unique<DrillDownModel>(m_engine.get(), m_options.locale);
    m_atRisk = std::make_unique<AtRiskModel>(m_engine.get(), m_options.locale);
    m_mrr = std::make_unique<MrrModel>(m_engine.get(), m_options.locale);
    Appearance::setInstance(&m_appearance);
    m_appearance.follow(m_engine.get());
    m_loginItem = Platform::createLoginItem(m_options.autostartConfigHome);
    m_frameMargin = Platform::windowsCanBeTranslucent() ? 12 : 0;
    if (const QScreen *screen = QGuiApplication::primaryScreen())
        m_maxPanelHeight = screen->availableGeometry().height() - 2 * gapFromBar;
    connect(m_engine.get(), &RevenueEngine::preferencesChanged, this, &QuorvaneApp::applyPreferences);
    // Leaving a pane discards its drafts: an open editor does not survive navigation.
    connect(&m_navigation, &Navigation::paneChanged, m_accounts.get(), &AccountsModel::closeEditor);
    connect(&m_navigation, &Navigation::paneChanged, m_accounts.get(), &AccountsModel::cancelRemoval);
    // Saving is done with settings: the dashboard shows the new account's first refresh.
    connect(m_accounts.get(), &AccountsModel::accountSaved, &m_navigation, &Navigation::showDashboard);
    connect(&m_navigation, &Navigation::paneChanged, m_achievements.get(), &AchievementsModel::discardEditing);
    connect(m_drillDown.get(), &DrillDownModel::kindRequested, &m_navigation, &Navigation::showDrillDown);
    // The save dialog may have taken the panel's focus and closed it: it comes back where it was.
    connect(m_drillDown.get(), &DrillDownModel::exportDialogClosed, this, &QuorvaneApp::reopenPanel);
    connect(m_drillDown.get(), &DrillDownModel::showInFolderRequested, this, &Platform::showInFolder);
    connect(m_dashboard.get(), &DashboardModel::accountEditRequested, this, [this](const QUuid &accountId) {
        m_navigation.showSettings(u"accounts"_s);
        m_accounts->editAccount(accountId);
    });
    connect(&m_navigation, &Navigation::paneChanged, this, [this] {
        if (m_navigation.current().kind == AppPane::Case::DrillDown)
            m_drillDown->setKind(m_navigation.current().drillDownKind);
    });
}

QuorvaneApp::~QuorvaneApp()
{
    if (m_window)
        m_window->removeEventFilter(this);
    Appearance::setInstance(nullptr);
}

bool QuorvaneApp::start()
{
    if (auto *notifications = dynamic_cast<DesktopNotifier *>(m_options.environment.notifier.get())) {
        connect(notifications, &DesktopNotifier::eventActivated, this, &QuorvaneApp::openEvent);
        connect(notifications, &DesktopNotifier::linkActivated, this, &QuorvaneApp::openUrl);
    }
    if (m_options.createTray) {
        m_tray = Platform::createTrayItem();
        m_windowed = !m_tray->isSeen();
        if (m_windowed)
            m_frameMargin = 0; // the window manager draws the frame
        m_tray->setIcon(trayIcon());
        connect(m_tray.get(), &TrayItem::activated, this, &QuorvaneApp::togglePanel);
        connect(m_tray.get(), &TrayItem::openRequested, this, [this](const QPoint &point) {
            // The menu only gives the pointer: open below (or beside) the bar it sits on.
            if (!m_window || !m_window->isVisible())
                togglePanel(Platform::barUnder(point), point);
        });
        connect(m_tray.get(), &TrayItem::refreshRequested, m_engine.get(), &RevenueEngine::triggerRefresh);
        connect(m_tray.get(), &TrayItem::quitRequested, this, &QuorvaneApp::quit);
        for (auto signal : {&RevenueEngine::menubarLabelChanged, &RevenueEngine::lastRefreshedChanged,
                            &RevenueEngine::feedChanged, &RevenueEngine::preferencesChanged,
                            &RevenueEngine::accountsChanged, &RevenueEngine::lastErrorChanged})
            connect(m_engine.get(), signal, this, &QuorvaneApp::updateTray);
        connect(m_engine->mrr(), &MrrTracker::stateChanged, this, &QuorvaneApp::updateTray);
        updateTray();
        m_tray->show();
    }
    // With no tray host the program would be invisible; the demo goes straight into it.
    const bool panelAtStart = m_windowed || m_options.demo;
    if (!panelAtStart)
        m_firstFrame.finish();

    m_qml.addImageProvider(u"symbol"_s, new SymbolImageProvider);
    m_qml.addImportPath(u"qrc:/qt/qml"_s);
    m_qml.setInitialProperties({{u"app"_s, QVariant::fromValue(this)}});
    m_qml.load(QUrl(u"qrc:/qt/qml/Quorvane/qml/Main.qml"_s));
    if (m_qml.rootObjects().isEmpty())
        return false;
    m_window = qobject_cast<QQuickWindow *>(m_qml.rootObjects().constFirst());
    if (!m_window)
        return false;
    m_window->installEventFilter(this);
    m_presses = std::make_unique<ScreenPresses>();
    connect(m_presses.get(), &ScreenPresses::pressed, this, &QuorvaneApp::closeOnPressOutside);
    connect(m_window, &QQuickWindow::frameSwapped, this, [this] { m_firstFrame.finish(); }, Qt::SingleShotConnection);
    applyPreferences();
    // The demo is for trying the app: on a setup with accounts of the user's own it would mix
    // made-up money into real figures, so there the panel opens on the user's own data.
    if (m_options.demo && !m_engine->hasOwnAccounts())
        m_engine->addDemoAccount();
    if (panelAtStart)
        openPanel();
    return true;
}

void QuorvaneApp::updateTray()
{
    if (!m_tray)
        return;
    const TrayPresentation shown = shownInTray();
    m_tray->setLabel(shown.label);
    m_tray->setToolTip(m_engine->showsDemo() ? shown.toolTipTitle + u" \u00B7 demo data"_s : shown.toolTipTitle,
                       shown.toolTipText);
}

QImage QuorvaneApp::trayIcon() const
{
    const QString symbol = m_updateChecker->isBlocked() ? u"arrow.up.circle.fill"_s : u"chart.line.uptrend.xyaxis"_s;
    // Drawn large: hosts scale it down to their own size (and the theme folder needs several).
    return Symbols::render(symbol, m_appearance.newColor(), QSize(96, 96));
}

TrayPresentation QuorvaneApp::trayPresentation() const
{
    const Preferences &prefs = m_engine->preferences();
    const MrrTracker &mrr = *m_engine->mrr();
    const bool mrrKnown = mrr.state().updatedAt.has_value() || !mrr.state().months.isEmpty();
    const auto masked = [&](const QString &figure) {
        return prefs.privacyMode ? CurrencyConverter::mask(prefs.dashboardCurrency) : figure;
    };
    // The engine's label is the range's revenue unless it was asked for MRR.
    const Totals totals = m_engine->totals(prefs.selectedRange);
    const QString revenue = prefs.menubarShowsMrr
        ? masked(CurrencyConverter::formatCompact(totals.newMRR + totals.recurringMRR, prefs.dashboardCurrency))
        : m_engine->menubarLabel();
    const TrayFigures figures{.revenue = revenue,
                              .rangeLabel = Formatting::rangeMenuLabel(prefs.selectedRange),
                              .mrr = mrrKnown ? masked(mrr.label(prefs.dashboardCurrency)) : QString(),
                              .labelShowsMrr = prefs.menubarShowsMrr,
                              .goalEta = m_mrr->hasGoal() ? m_mrr->goalLine() : QString()};
    return ::trayPresentation(figures, m_engine->lastRefreshed().has_value() || !m_engine->feed().isEmpty(),
                              m_updateChecker->isBlocked());
}

TrayPresentation QuorvaneApp::shownInTray() const
{
    return withRefreshProblem(trayPresentation(), m_dashboard->error().summary);
}

QString QuorvaneApp::trayLabel() const
{
    return trayPresentation().label;
}

void QuorvaneApp::applyPreferences()
{
    const Preferences &preferences = m_engine->preferences();
    // Also when already on: an entry naming where the program used to be is written anew.
    if (m_loginItem && (preferences.startAtLogin || m_loginItem->isEnabled()))
        m_loginItem->setEnabled(preferences.startAtLogin); // a failure leaves the preference shown as chosen
    if (m_options.environment.notifier)
        m_options.environment.notifier->setSaleSound(preferences.saleSound);
}

void QuorvaneApp::openPanel()
{
    if (!m_window)
        return;
    if (m_windowed && !m_window->isVisible()) {
        m_navigation.showDashboard();
        // The window manager's frame comes on top of the panel's height; until it has framed the
        // window once, room for a title bar is kept.
        const QMargins frame = m_window->frameMargins();
        const int frameHeight = frame.isNull() ? 40 : frame.top() + frame.bottom();
        if (const QScreen *screen = m_window->screen()) {
            m_maxPanelHeight = std::max(200, screen->availableGeometry().height() - frameHeight);
            Q_EMIT maxPanelHeightChanged();
        }
        m_window->show();
        startUpdateChecks();
    }
    if (m_window->isVisible()) {
        // The headless platform of tests and screenshots has no stacking order to change.
        if (QGuiApplication::platformName() != u"offscreen"_s)
            m_window->raise();
        m_window->requestActivate();
        return;
    }
    // No click to place it by: the top right, where most trays are.
    QScreen *screen = QGuiApplication::primaryScreen();
    const QRect area = screen ? screen->availableGeometry() : QRect();
    togglePanel(QRect(), QPoint(area.right(), area.top()));
}

void QuorvaneApp::openEvent(const QString &eventId)
{
    openPanel();
    m_navigation.showDashboard();
    m_dashboard->feed()->open(eventId);
}

void QuorvaneApp::startUpdateChecks()
{
    // The version file is first asked for when the panel's content is first shown.
    if (!m_updateCheckStarted) {
        m_updateCheckStarted = true;
        m_updateChecker->start();
    }
}

void QuorvaneApp::togglePanel(const QRect &trayGeometry, const QPoint &clickPoint)
{
    if (!m_window)
        return;
    if (m_window->isVisible()) {
        hidePanel();
        return;
    }
    // A press on the tray item while the panel was open has closed it already: the activation
    // that follows the same click must not open it again.
    const QRect item = trayGeometry.isValid() ? trayGeometry : QRect(clickPoint, QSize(1, 1)).adjusted(-24, -24, 24, 24);
    if (m_closedByPress.isValid() && m_closedByPress.elapsed() < 1500 && item.contains(m_closingPress)) {
        m_closedByPress.invalidate();
        return;
    }
    QScreen *screen = QGuiApplication::screenAt(clickPoint);
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const QRect area = screen ? screen->availableGeometry() : QRect(0, 0, panelWidth, m_window->height());
    // The window's height binds to this, so the size read below is already capped.
    fitPanelTo(area);
    const QSize size(m_window->width(), std::max(1, m_window->height()));
    // Wayland compositors place windows themselves; the position is only a wish there. The
    // shadow's transparent margin may overlap the bar: the visible gap is what counts.
    showPanelAt(panelGeometry(trayGeometry, clickPoint, size, area, gapFromBar - m_frameMargin).topLeft());
}

void QuorvaneApp::fitPanelTo(const QRect &area)
{
    if (const int capped = std::max(200, area.height() - 2 * gapFromBar); capped != m_maxPanelHeight) {
        m_maxPanelHeight = capped;
        Q_EMIT maxPanelHeightChanged();
    }
}

void QuorvaneApp::showPanelAt(const QPoint &topLeft)
{
    if (!m_window)
        return;
    m_navigation.showDashboard();
    m_wasActive = false;
    m_window->setPosition(topLeft);
    m_window->show();
    startUpdateChecks();
    // The headless platform of tests and screenshots has no stacking order to change.
    if (QGuiApplication::platformName() != u"offscreen"_s)
        m_window->raise();
    // Nothing is grabbed: a press elsewhere is seen without it, and the desktop's shortcuts
    // keep working while the panel is open. Esc reaches the panel through the focus.
    m_window->requestActivate();
}

void QuorvaneApp::reopenPanel()
{
    if (!m_window)
        return;
    if (!m_window->isVisible()) {
        m_wasActive = false;
        m_window->show(); // where it was, on the pane it showed
    }
    if (QGuiApplication::platformName() != u"offscreen"_s)
        m_window->raise();
    m_window->requestActivate();
}

void QuorvaneApp::closeOnPressOutside(const QPoint &globalPosition)
{
    // An ordinary window stays when another is used.
    if (m_windowed || !m_window || !m_window->isVisible())
        return;
    // The shadow's transparent margin is not part of the panel the user sees.
    const QMargins shadow(m_frameMargin, m_frameMargin, m_frameMargin, m_frameMargin);
    if (m_window->geometry().marginsRemoved(shadow).contains(globalPosition))
        return;
    hidePanel();
    m_closingPress = globalPosition;
    m_closedByPress.start();
}

void QuorvaneApp::hidePanel()
{
    if (!m_window)
        return;
    m_wasActive = false;
    m_window->hide();
}

bool QuorvaneApp::eventFilter(QObject *watched, QEvent *event)
{
    // An ordinary window closes by its close button and stays when another is used.
    if (watched == m_window && !m_windowed) {
        // A menu-bar panel closes when the user clicks elsewhere (seen by the screen's presses)
        // or uses another window (the focus leaves it).
        if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape
                   && !m_deliveringEscape) {
            // What is innermost takes Esc first: an open popup, an editor (as Cancel). An Esc
            // that no control used closes the panel, wherever the focus is.
            const QQuickItem *focus = m_window->activeFocusItem();
            bool used = false;
            if (focus && focus != m_window->contentItem()) {
                m_deliveringEscape = true;
                QCoreApplication::sendEvent(m_window, event);
                m_deliveringEscape = false;
                used = event->isAccepted();
            }
            if (!used)
                hidePanel();
            return true;
        } else if (event->type() == QEvent::FocusIn)
            m_wasActive = true;
        else if (event->type() == QEvent::FocusOut && m_wasActive && !m_window->isActive()) {
            const QWindow *focus = QGuiApplication::focusWindow();
            // The panel's own popups (menus, date pickers) take focus without closing it.
            if (!focus || focus->transientParent() != m_window) {
                hidePanel();
            }
        }
    }
    return QObject::eventFilter(watched, event);
}

void QuorvaneApp::quit()
{
    QCoreApplication::quit();
}

void QuorvaneApp::openUrl(const QUrl &url)
{
    if (url.isValid() && (url.scheme() == u"https"_s || url.scheme() == u"http"_s))
        QDesktopServices::openUrl(url);
}
