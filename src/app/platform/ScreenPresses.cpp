#include "ScreenPresses.h"

#include <QCursor>
#include <QGuiApplication>

#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include <memory>

namespace {

struct FreeDeleter
{
    void operator()(void *reply) const { std::free(reply); }
};
template<typename T>
using Reply = std::unique_ptr<T, FreeDeleter>;

// The raw presses of buttons 1 to 3; 4 to 7 are wheel steps, which close nothing.
bool isButtonPress(const xcb_input_raw_button_press_event_t *event)
{
    return event->detail >= 1 && event->detail <= 3;
}

} // namespace

ScreenPresses::ScreenPresses(QObject *parent)
    : QObject(parent)
{
    auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    xcb_connection_t *connection = x11 ? x11->connection() : nullptr;
    if (!connection)
        return;
    const xcb_query_extension_reply_t *extension = xcb_get_extension_data(connection, &xcb_input_id);
    if (!extension || !extension->present)
        return;
    // Raw events reach every client whoever holds a grab only from XInput 2.2 on.
    const Reply<xcb_input_xi_query_version_reply_t> version(
        xcb_input_xi_query_version_reply(connection, xcb_input_xi_query_version(connection, 2, 2), nullptr));
    if (!version || version->major_version < 2 || (version->major_version == 2 && version->minor_version < 2))
        return;
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    if (!screen)
        return;
    struct
    {
        xcb_input_event_mask_t head;
        uint32_t mask;
    } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS};
    const Reply<xcb_generic_error_t> error(
        xcb_request_check(connection, xcb_input_xi_select_events_checked(connection, screen->root, 1, &selection.head)));
    if (error)
        return;
    m_xinputOpcode = extension->major_opcode;
    qGuiApp->installNativeEventFilter(this);
}

ScreenPresses::~ScreenPresses()
{
    if (isWatching() && qGuiApp)
        qGuiApp->removeNativeEventFilter(this);
}

bool ScreenPresses::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    if ((event->response_type & 0x7f) != XCB_GE_GENERIC)
        return false;
    const auto *generic = static_cast<const xcb_ge_generic_event_t *>(message);
    if (generic->extension != m_xinputOpcode || generic->event_type != XCB_INPUT_RAW_BUTTON_PRESS)
        return false;
    // A raw press carries no position: the pointer is where it was pressed.
    if (isButtonPress(static_cast<const xcb_input_raw_button_press_event_t *>(message)))
        Q_EMIT pressed(QCursor::pos());
    return false; // Qt passes over raw events it did not ask for
}
