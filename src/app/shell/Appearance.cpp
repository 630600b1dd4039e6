#include "Appearance.h"

#include "engine/RevenueEngine.h"

#include <QFont>
#include <QGuiApplication>
#include <QPalette>
#include <QPointer>

namespace {
QPointer<Appearance> s_instance;
}

Appearance::Appearance(QObject *parent)
    : QObject(parent)
    , m_systemDark(systemIsDark())
{
    if (qGuiApp)
        qGuiApp->installEventFilter(this);
    connect(this, &Appearance::changed, this, &Appearance::applyLinkColour);
    applyLinkColour();
}

// Markdown text renders its links in the application palette's link colour, which no QML
// property reaches; keep it on the accent so links stay readable in both themes.
void Appearance::applyLinkColour()
{
    if (!qGuiApp)
        return;
    QPalette palette = QGuiApplication::palette();
    if (palette.color(QPalette::Link) == accent())
        return;
    palette.setColor(QPalette::Link, accent());
    QGuiApplication::setPalette(palette);
}

void Appearance::setInstance(Appearance *instance)
{
    s_instance = instance;
}

Appearance *Appearance::create(QQmlEngine *, QJSEngine *)
{
    if (!s_instance)
        s_instance = new Appearance(qGuiApp);
    QQmlEngine::setObjectOwnership(s_instance, QQmlEngine::CppOwnership);
    return s_instance;
}

void Appearance::follow(RevenueEngine *engine)
{
    setForcedDark(engine->preferences().darkMode);
    connect(engine, &RevenueEngine::preferencesChanged, this,
            [this, engine] { setForcedDark(engine->preferences().darkMode); });
}

void Appearance::setForcedDark(bool forced)
{
    if (forced == m_forcedDark)
        return;
    const bool before = dark();
    m_forcedDark = forced;
    if (dark() != before)
        Q_EMIT changed();
}

bool Appearance::systemIsDark()
{
    if (!qGuiApp)
        return false;
    return QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
}

bool Appearance::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == qGuiApp && event->type() == QEvent::ApplicationPaletteChange) {
        const bool before = dark();
        m_systemDark = systemIsDark();
        if (dark() != before)
            Q_EMIT changed();
    }
    return QObject::eventFilter(watched, event);
}

QColor Appearance::window() const
{
    return dark() ? QColor(30, 30, 32) : QColor(246, 246, 246);
}

QColor Appearance::primary() const
{
    return dark() ? QColor(236, 236, 238) : QColor(28, 28, 30);
}

QColor Appearance::secondary() const
{
    QColor c = primary();
    c.setAlphaF(0.72f); // small text stays above 4.5:1 on the window in both themes
    return c;
}

QColor Appearance::tertiary() const
{
    QColor c = primary();
    c.setAlphaF(0.62f); // still 4.5:1: tertiary text is small text too
    return c;
}

QColor Appearance::hairline() const
{
    QColor c = primary();
    c.setAlphaF(0.15f);
    return c;
}

QColor Appearance::control() const
{
    QColor c = primary();
    c.setAlphaF(0.08f);
    return c;
}

QColor Appearance::popup() const
{
    // Menus, pickers and tooltips sit one step above the window, in both themes.
    return dark() ? QColor(44, 44, 48) : QColor(255, 255, 255);
}

QColor Appearance::switchOff() const
{
    // An off switch must still read as a control: a solid grey track, not a hairline.
    return dark() ? QColor(118, 118, 124) : QColor(142, 142, 147);
}

QColor Appearance::accent() const
{
    return dark() ? QColor(64, 156, 255) : QColor(0, 122, 255);
}

QString Appearance::fontFamily() const
{
    return QGuiApplication::font().family();
}
