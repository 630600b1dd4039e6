#pragma once

#include <QColor>
#include <QObject>
#include <QQmlEngine>

class RevenueEngine;

// The window's colours: forced dark while the dark-mode preference is on, otherwise the
// system's own light or dark appearance. Changes apply at once.
class Appearance : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool dark READ dark NOTIFY changed)
    Q_PROPERTY(QColor window READ window NOTIFY changed)
    Q_PROPERTY(QColor primary READ primary NOTIFY changed)
    Q_PROPERTY(QColor secondary READ secondary NOTIFY changed)
    Q_PROPERTY(QColor tertiary READ tertiary NOTIFY changed)
    Q_PROPERTY(QColor hairline READ hairline NOTIFY changed)
    Q_PROPERTY(QColor control READ control NOTIFY changed)
    Q_PROPERTY(QColor accent READ accent NOTIFY changed)
    Q_PROPERTY(QColor popup READ popup NOTIFY changed)
    Q_PROPERTY(QColor popupText READ primary NOTIFY changed)
    Q_PROPERTY(QColor switchOff READ switchOff NOTIFY changed)
    Q_PROPERTY(QColor red READ red CONSTANT)
    Q_PROPERTY(QColor green READ green CONSTANT)
    Q_PROPERTY(QColor orange READ orange CONSTANT)
    Q_PROPERTY(QColor newColor READ newColor CONSTANT)
    Q_PROPERTY(QColor stripePurple READ stripePurple CONSTANT)
    Q_PROPERTY(QColor paypalBlue READ paypalBlue CONSTANT)
    Q_PROPERTY(QString fontFamily READ fontFamily CONSTANT)

public:
    // No default constructor: QML must take the application's instance through create().
    explicit Appearance(QObject *parent);

    // The instance QML sees; the application sets it before loading any QML.
    static void setInstance(Appearance *instance);
    static Appearance *create(QQmlEngine *, QJSEngine *);

    // Follows the engine's dark-mode preference from now on.
    void follow(RevenueEngine *engine);
    void setForcedDark(bool forced);
    // Whether the desktop itself is dark: its palette's window colour decides.
    static bool systemIsDark();

    bool dark() const { return m_forcedDark || m_systemDark; }
    QColor window() const;
    QColor primary() const;
    QColor secondary() const;
    QColor tertiary() const;
    QColor hairline() const;
    QColor control() const;
    QColor accent() const;
    QColor popup() const;
    QColor switchOff() const;
    QColor red() const { return QColor::fromRgbF(0.92f, 0.30f, 0.28f); }
    QColor green() const { return QColor::fromRgbF(0.30f, 0.72f, 0.42f); }
    QColor orange() const { return QColor::fromRgbF(0.95f, 0.55f, 0.20f); }
    QColor newColor() const { return QColor::fromRgbF(0.42f, 0.72f, 0.50f); }
    QColor stripePurple() const { return QColor::fromRgbF(0.45f, 0.32f, 0.78f); }
    QColor paypalBlue() const { return QColor::fromRgbF(0.20f, 0.55f, 0.85f); }
    QString fontFamily() const;

Q_SIGNALS:
    void changed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void applyLinkColour();

    bool m_forcedDark = false;
    bool m_systemDark = false;
};
