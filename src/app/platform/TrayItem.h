#pragma once

#include <QImage>
#include <QObject>
#include <QPoint>
#include <QRect>
#include <memory>

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

Q_SIGNALS:
    // The user clicked the item. The geometry is empty when the host reports only a point.
    void activated(const QRect &trayGeometry, const QPoint &clickPoint);
};

// Starting the program when the user logs in.
class LoginItem
{
public:
    virtual ~LoginItem() = default;
    virtual bool setEnabled(bool enabled) = 0;
    virtual bool isEnabled() const = 0;
};

namespace Platform {
// The best tray item this desktop supports.
std::unique_ptr<TrayItem> createTrayItem();
// `configHome` replaces the user's configuration folder (tests, screenshots); empty: the real one.
std::unique_ptr<LoginItem> createLoginItem(const QString &configHome = {});
} // namespace Platform
