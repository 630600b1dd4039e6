#pragma once

#include "platform/TrayIconTheme.h"
#include "platform/TrayItem.h"

#include <QDBusAbstractAdaptor>
#include <QDBusArgument>
#include <QDBusServiceWatcher>

// One icon image as the StatusNotifierItem protocol carries it: ARGB32 in network byte order.
struct SniPixmap
{
    int width = 0;
    int height = 0;
    QByteArray bytes;
};
using SniPixmapList = QList<SniPixmap>;

struct SniToolTip
{
    QString iconName;
    SniPixmapList pixmaps;
    QString title;
    QString description;
};

QDBusArgument &operator<<(QDBusArgument &argument, const SniPixmap &pixmap);
const QDBusArgument &operator>>(const QDBusArgument &argument, SniPixmap &pixmap);
QDBusArgument &operator<<(QDBusArgument &argument, const SniToolTip &toolTip);
const QDBusArgument &operator>>(const QDBusArgument &argument, SniToolTip &toolTip);
SniPixmap toSniPixmap(const QImage &image);

Q_DECLARE_METATYPE(SniPixmap)
Q_DECLARE_METATYPE(SniToolTip)

// A tray item spoken over D-Bus by the StatusNotifierItem protocol with the Ayatana label
// extension, so that AppIndicator hosts show the figure as text next to the icon. Registers
// with the StatusNotifierWatcher, again whenever the watcher restarts.
class StatusNotifierItem final : public TrayItem
{
    Q_OBJECT
public:
    static constexpr auto watcherService = "org.kde.StatusNotifierWatcher";

    StatusNotifierItem();
    ~StatusNotifierItem() override;

    // Whether a watcher runs on the session bus, i.e. whether this item would be seen.
    static bool isAvailable();

    void setLabel(const QString &label) override;
    void setToolTip(const QString &title, const QString &text) override;
    void setIcon(const QImage &icon) override;
    void show() override;
    QString kind() const override { return QStringLiteral("StatusNotifierItem"); }
    bool isSeen() const override;

    QString serviceName() const { return m_serviceName; }
    const QString &label() const { return m_label; }
    // Empty until the icon has been written as a theme icon.
    const QString &iconName() const { return m_iconName; }
    QString iconThemePath() const { return m_iconName.isEmpty() ? QString() : m_theme.folder(); }
    // The host asked for a menu of its own at a point (hosts that do not draw the exported one).
    void popUpMenu(const QPoint &point);
    const SniToolTip &toolTip() const { return m_toolTip; }
    const SniPixmapList &pixmaps() const { return m_pixmaps; }

Q_SIGNALS:
    void labelChanged(const QString &label, const QString &guide);
    void toolTipChanged();
    void iconChanged();

private:
    void registerWithWatcher();

    QString m_serviceName;
    QString m_label;
    QString m_iconName;
    TrayIconTheme m_theme;
    QObject m_menuObject; // carries the exported menu at its own path
    SniToolTip m_toolTip;
    SniPixmapList m_pixmaps;
    QDBusServiceWatcher m_watcher;
    bool m_shown = false;
};

// The exported interface; reads and forwards everything to its item.
class StatusNotifierItemAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category)
    Q_PROPERTY(QString Id READ id)
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(int WindowId READ windowId)
    Q_PROPERTY(QString IconThemePath READ iconThemePath)
    Q_PROPERTY(QDBusObjectPath Menu READ menu)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu)
    Q_PROPERTY(QString IconName READ iconName)
    Q_PROPERTY(SniPixmapList IconPixmap READ iconPixmap)
    Q_PROPERTY(QString OverlayIconName READ emptyText)
    Q_PROPERTY(SniPixmapList OverlayIconPixmap READ noPixmaps)
    Q_PROPERTY(QString AttentionIconName READ emptyText)
    Q_PROPERTY(SniPixmapList AttentionIconPixmap READ noPixmaps)
    Q_PROPERTY(QString AttentionMovieName READ emptyText)
    Q_PROPERTY(SniToolTip ToolTip READ toolTip)
    Q_PROPERTY(QString XAyatanaLabel READ label)
    Q_PROPERTY(QString XAyatanaLabelGuide READ labelGuide)
    Q_PROPERTY(uint XAyatanaOrderingIndex READ orderingIndex)

public:
    explicit StatusNotifierItemAdaptor(StatusNotifierItem *item);

    QString category() const { return QStringLiteral("ApplicationStatus"); }
    QString id() const { return QStringLiteral("quorvane"); }
    QString title() const { return QStringLiteral("Quorvane"); }
    QString status() const { return QStringLiteral("Active"); }
    int windowId() const { return 0; }
    QString emptyText() const { return {}; }
    QDBusObjectPath menu() const;
    QString iconName() const { return m_item->iconName(); }
    QString iconThemePath() const { return m_item->iconThemePath(); }
    bool itemIsMenu() const { return false; }
    SniPixmapList iconPixmap() const { return m_item->pixmaps(); }
    SniPixmapList noPixmaps() const { return {}; }
    SniToolTip toolTip() const { return m_item->toolTip(); }
    QString label() const { return m_item->label(); }
    // The widest text the label is expected to take, so hosts can reserve room for it.
    QString labelGuide() const { return QStringLiteral("$00.0K"); }
    uint orderingIndex() const { return 0; }

public Q_SLOTS:
    void Activate(int x, int y);
    void SecondaryActivate(int x, int y);
    // The AppIndicator hosts' middle click, which carries a timestamp instead of a point.
    void XAyatanaSecondaryActivate(uint timestamp);
    void ContextMenu(int x, int y);
    void Scroll(int delta, const QString &orientation);

Q_SIGNALS:
    void NewTitle();
    void NewIcon();
    void NewAttentionIcon();
    void NewOverlayIcon();
    void NewToolTip();
    void NewStatus(const QString &status);
    void XAyatanaNewLabel(const QString &label, const QString &guide);

private:
    StatusNotifierItem *m_item;
};
