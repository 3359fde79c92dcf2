#include "ui/tray/ClassicTray.h"

#include "ui/panel/X11Display.h"

#include <QByteArray>
#include <QGuiApplication>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace
{
// The toolkit, too, knows the first screen only.
constexpr auto traySelection = "_NET_SYSTEM_TRAY_S0";

/// The window that holds the tray's selection; XCB_WINDOW_NONE without one.
xcb_window_t tray(xcb_connection_t *connection)
{
    return selectionOwner(connection, traySelection);
}
} // namespace

ClassicTray::ClassicTray(QObject *parent)
    : QObject(parent)
{
    qGuiApp->installNativeEventFilter(this);
}

ClassicTray::~ClassicTray()
{
    if (qGuiApp)
        qGuiApp->removeNativeEventFilter(this);
}

// A new manager of the selection announces itself on the root window, where the toolkit listens.
bool ClassicTray::nativeEventFilter(const QByteArray &kind, void *message, qintptr *)
{
    if (kind != "xcb_generic_event_t")
        return false;
    constexpr int sentByAClient = 0x80;
    const auto *const event = static_cast<const xcb_generic_event_t *>(message);
    if ((event->response_type & ~sentByAClient) != XCB_CLIENT_MESSAGE)
        return false;
    const auto *const told = static_cast<const xcb_client_message_event_t *>(message);
    xcb_connection_t *const connection = connectionToX11();
    // Drags and much else are messages to a window: only here is the server asked.
    if (connection && told->window == rootWindow(connection) &&
        told->type == atom(connection, "MANAGER") &&
        told->data.data32[1] == atom(connection, traySelection))
        Q_EMIT arrived();
    return false;
}

bool ClassicTray::isPresent()
{
    xcb_connection_t *const connection = connectionToX11();
    return connection && tray(connection) != XCB_WINDOW_NONE;
}

std::optional<QColor> ClassicTray::textColor()
{
    xcb_connection_t *const connection = connectionToX11();
    if (!connection)
        return std::nullopt;
    constexpr int components = 3; // red, green and blue of the text; other colours follow
    // Without a tray, or the property, the server answers with an error: no reply.
    const auto reply =
        owned(xcb_get_property_reply(connection,
                                     xcb_get_property(connection, 0, tray(connection),
                                                      atom(connection, "_NET_SYSTEM_TRAY_COLORS"),
                                                      XCB_ATOM_CARDINAL, 0, components),
                                     nullptr));
    if (!reply || reply->format != 32 ||
        xcb_get_property_value_length(reply.get()) != 4 * components)
        return std::nullopt;
    std::array<std::uint32_t, components> rgb{};
    std::memcpy(rgb.data(), xcb_get_property_value(reply.get()), sizeof rgb);
    const auto component = [&rgb](std::size_t i) { return static_cast<quint16>(rgb.at(i)); };
    return QColor::fromRgba64(component(0), component(1), component(2));
}
