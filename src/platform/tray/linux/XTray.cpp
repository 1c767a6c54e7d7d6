#include "platform/tray/linux/XTray.h"

#include <QGuiApplication>

#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <xcb/xcb.h>

namespace halvenor {

namespace {

template <class T>
using Reply = std::unique_ptr<T, decltype(&std::free)>;

// Null on another window system.
xcb_connection_t* display() {
    auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr ? x11->connection() : nullptr;
}

uint32_t atom(xcb_connection_t* connection, std::string_view name) {
    const auto cookie =
        xcb_intern_atom(connection, 0, static_cast<uint16_t>(name.size()), name.data());
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr),
                                               &std::free);
    return reply ? reply->atom : uint32_t{XCB_ATOM_NONE};
}

// Each screen of a display may have a tray of its own.
std::string selectionName() {
    int screen = 0;
    char* host = nullptr;
    int number = 0;
    if (xcb_parse_display(nullptr, &host, &number, &screen) != 0) {
        std::free(host);
    }
    return "_NET_SYSTEM_TRAY_S" + std::to_string(screen);
}

bool isOwned(xcb_connection_t* connection, uint32_t selection) {
    const auto cookie = xcb_get_selection_owner(connection, selection);
    const Reply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(connection, cookie, nullptr), &std::free);
    return reply && reply->owner != XCB_WINDOW_NONE;
}

}  // namespace

XTray::XTray(std::function<void()> onTray) : onTray_(std::move(onTray)) {}

void XTray::start() {
    xcb_connection_t* const connection = display();
    if (connection == nullptr) {
        return;
    }
    manager_ = atom(connection, "MANAGER");
    selection_ = atom(connection, selectionName());
    qGuiApp->installNativeEventFilter(this);
    if (isOwned(connection, selection_)) {
        onTray_();
    }
}

// The toolkit listens to the root window, where a new owner announces itself.
bool XTray::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t") {
        return false;
    }
    const auto* const event = static_cast<const xcb_generic_event_t*>(message);
    constexpr uint8_t sentByClient = 0x80;
    if ((event->response_type & ~sentByClient) == XCB_CLIENT_MESSAGE) {
        const auto* const announcement = static_cast<const xcb_client_message_event_t*>(message);
        if (announcement->type == manager_ && announcement->data.data32[1] == selection_) {
            onTray_();
        }
    }
    return false;
}

}  // namespace halvenor
