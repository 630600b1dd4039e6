#include "QuorvaneApp.h"

#include "shell/PanelPlacement.h"
#include "shell/Symbols.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QScreen>

using namespace Qt::StringLiterals;

QuorvaneApp::QuorvaneApp(AppOptions options, QObject *parent)
    : QObject(parent)
    , m_options(std::move(options))
    , m_engine(std::make_unique<RevenueEngine>(m_options.environment))
    , m_updateChecker(std::make_unique<UpdateChecker>(m_options.update))
    , m_appearance(nullptr)
{
    m_dashboard = std::make_unique<DashboardModel>(m_engine.get(), m_options.locale);
    m_general = std::make_unique<GeneralSettingsModel>(m_engine.get());
    m_accounts = std::make_unique<AccountsModel>(m_engine.get());
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
    Appearance::setInstance(&m_appearance);
    m_appearance.follow(m_engine.get());
    m_loginItem = Platform::createLoginItem(m_options.autostartConfigHome);
    connect(m_engine.get(), &RevenueEngine::preferencesChanged, this, &QuorvaneApp::applyStartAtLogin);
    // Leaving a pane discards its drafts: an open editor does not survive navigation.
    connect(&m_navigation, &Navigation::paneChanged, m_accounts.get(), &AccountsModel::closeEditor);
}

QuorvaneApp::~QuorvaneApp()
{
    if (m_window)
        m_window->removeEventFilter(this);
    Appearance::setInstance(nullptr);
}

bool QuorvaneApp::start()
{
    if (m_options.createTray) {
        m_tray = Platform::createTrayItem();
        m_tray->setIcon(trayIcon());
        connect(m_tray.get(), &TrayItem::activated, this, &QuorvaneApp::togglePanel);
        connect(m_engine.get(), &RevenueEngine::menubarLabelChanged, this, &QuorvaneApp::updateTray);
        updateTray();
        m_tray->show();
    }

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
    return true;
}

void QuorvaneApp::updateTray()
{
    if (!m_tray)
        return;
    const QString label = trayLabel();
    m_tray->setLabel(label);
    m_tray->setToolTip(u"Quorvane"_s, label);
}

QImage QuorvaneApp::trayIcon() const
{
    const QString symbol = m_updateChecker->isBlocked() ? u"arrow.up.circle.fill"_s : u"chart.line.uptrend.xyaxis"_s;
    return Symbols::render(symbol, m_appearance.newColor(), QSize(22, 22));
}

QString QuorvaneApp::trayLabel() const
{
    return m_updateChecker->isBlocked() ? u"Update"_s : m_engine->menubarLabel();
}

void QuorvaneApp::applyStartAtLogin()
{
    const bool wanted = m_engine->preferences().startAtLogin;
    if (m_loginItem && m_loginItem->isEnabled() != wanted)
        m_loginItem->setEnabled(wanted); // a failure leaves the preference shown as chosen
}

void QuorvaneApp::togglePanel(const QRect &trayGeometry, const QPoint &clickPoint)
{
    if (!m_window)
        return;
    if (m_window->isVisible()) {
        m_window->hide();
        return;
    }
    QScreen *screen = QGuiApplication::screenAt(clickPoint);
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const QSize size(panelWidth, std::max(1, m_window->height()));
    const QRect area = screen ? screen->availableGeometry() : QRect(QPoint(0, 0), size);
    // Wayland compositors place windows themselves; the position is only a wish there.
    showPanelAt(panelGeometry(trayGeometry, clickPoint, size, area).topLeft());
}

void QuorvaneApp::showPanelAt(const QPoint &topLeft)
{
    if (!m_window)
        return;
    m_navigation.showDashboard();
    m_wasActive = false;
    m_window->setPosition(topLeft);
    m_window->show();
    // The version file is first asked for when the panel's content is first shown.
    if (!m_updateCheckStarted) {
        m_updateCheckStarted = true;
        m_updateChecker->start();
    }
    // The headless platform of tests and screenshots has no stacking order to change.
    if (QGuiApplication::platformName() != u"offscreen"_s)
        m_window->raise();
    m_window->requestActivate();
}

bool QuorvaneApp::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_window) {
        // A menu-bar panel closes when the user clicks elsewhere.
        if (event->type() == QEvent::FocusIn)
            m_wasActive = true;
        else if (event->type() == QEvent::FocusOut && m_wasActive && !m_window->isActive()) {
            const QWindow *focus = QGuiApplication::focusWindow();
            // The panel's own popups (menus, date pickers) take focus without closing it.
            if (!focus || focus->transientParent() != m_window) {
                m_wasActive = false;
                m_window->hide();
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
