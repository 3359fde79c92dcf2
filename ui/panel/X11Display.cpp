#include "ui/panel/X11Display.h"

#include <QGuiApplication>

#include <cstdint>

xcb_connection_t *connectionToX11()
{
    const auto *const display = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return display ? display->connection() : nullptr;
}

xcb_window_t rootWindow(xcb_connection_t *connection)
{
    return xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
}

xcb_atom_t atom(xcb_connection_t *connection, const QByteArray &name)
{
    const auto length = static_cast<std::uint16_t>(name.size());
    const auto reply = owned(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 1, length, name.constData()), nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

xcb_window_t selectionOwner(xcb_connection_t *connection, const QByteArray &name)
{
    const xcb_atom_t selection = atom(connection, name);
    if (selection == XCB_ATOM_NONE)
        return XCB_WINDOW_NONE;
    const auto owner = owned(xcb_get_selection_owner_reply(
        connection, xcb_get_selection_owner(connection, selection), nullptr));
    return owner ? owner->owner : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
}

// Named by the Extended Window Manager Hints; the toolkit, too, knows the first screen only.
bool isComposited()
{
    xcb_connection_t *const connection = connectionToX11();
    return connection && selectionOwner(connection, "_NET_WM_CM_S0") != XCB_WINDOW_NONE;
}
