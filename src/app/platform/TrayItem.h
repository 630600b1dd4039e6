#pragma once

#include <QImage>
#include <QList>
#include <QObject>
#include <QPoint>
#include <QRect>
#include <memory>

// What the tray item's menu offers, in the order the menu shows it.
enum class TrayAction { Open, Refresh, Separator, Quit };

struct TrayMenuEntry
{
    int id = 0; // stable, non-zero: hosts address menu items by it
    TrayAction action = TrayAction::Separator;
    QString label;
};

// The entries every host shows, from the same list: the exported D-Bus menu and Qt's own menu.
QList<TrayMenuEntry> trayMenuEntries();

class QMenu;

// The permanent presence on the desktop: a small icon with the running figure beside it
// where the desktop can show text, and in the tooltip everywhere. One implementation per
// platform; the shell only talks to this interface.
class TrayItem : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    ~TrayItem() override = default;

    virtual void setLabel(const QString &label) = 0;
    virtual void setToolTip(const QString &title, const QString &text) = 0;
    virtual void setIcon(const QImage &icon) = 0;
    virtual void show() = 0;
    // Short name of the implementation, for diagnostics and tests.
    virtual QString kind() const = 0;
    // Whether a host on this desktop shows the item at all; when none does, the shell opens
    // the panel itself so the program is not invisible.
    virtual bool isSeen() const = 0;

    // Runs a menu action as if the user had chosen it.
    void trigger(TrayAction action, const QPoint &point);

Q_SIGNALS:
    // The user clicked the item. The geometry is empty when the host reports only a point.
    void activated(const QRect &trayGeometry, const QPoint &clickPoint);
    // "Open Quorvane" from the menu: show the panel (never hide it), near `point`.
    void openRequested(const QPoint &point);
    void refreshRequested();
    void quitRequested();
};

// Starting the program when the user logs in.
class LoginItem
{
public:
    virtual ~LoginItem() = default;
    virtual bool setEnabled(bool enabled) = 0;
    virtual bool isEnabled() const = 0;
};

// Qt's own menu with the same entries, for hosts that ask the program to show the menu.
QMenu *createTrayMenu(TrayItem *item);

namespace Platform {
// The best tray item this desktop supports.
std::unique_ptr<TrayItem> createTrayItem();
// Whether a compositor draws windows with transparency (rounded corners and a shadow).
bool windowsCanBeTranslucent();
// The slice of the panel bar under `point` (the width of the point across the bar), where a
// host reports no geometry for its item; empty when no bar is there or it cannot be asked.
QRect barUnder(const QPoint &point);
// `configHome` replaces the user's configuration folder (tests, screenshots); empty: the real one.
std::unique_ptr<LoginItem> createLoginItem(const QString &configHome = {});
} // namespace Platform
