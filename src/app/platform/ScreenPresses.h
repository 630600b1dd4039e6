#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <QPoint>

// Reports every pointer press anywhere on the screen, whichever window (or the bare root
// window) it lands on, without taking a grab: the panel closes on a press outside it like a
// menu, while the keyboard and the pointer stay free for the desktop's own shortcuts (Alt+Tab,
// PrintScreen) and for a tray host's menu that holds the pointer for a moment. On X11 these are
// the XInput 2 raw presses, which reach every client that asks for them whoever holds a grab.
// Elsewhere (Wayland, the headless test platform) nothing is reported: the panel closes when it
// loses the focus.
class ScreenPresses : public QObject, public QAbstractNativeEventFilter
{
    Q_OBJECT

public:
    explicit ScreenPresses(QObject *parent = nullptr);
    ~ScreenPresses() override;

    // Whether presses are being reported on this platform.
    bool isWatching() const { return m_xinputOpcode != 0; }

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

Q_SIGNALS:
    // A press of the left, middle or right button at this point of the screen (in Qt's device-
    // independent pixels, like a window's geometry).
    void pressed(const QPoint &globalPosition);

private:
    quint8 m_xinputOpcode = 0;
};
