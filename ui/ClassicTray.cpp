#include "ui/ClassicTray.h"

#include <QGuiApplication>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace
{
template<class Reply>
using Owned = std::unique_ptr<Reply, decltype(&std::free)>;

template<class Reply>
Owned<Reply> owned(Reply *reply)
{
    return {reply, &std::free};
}
} // namespace

bool classicTrayIsPresent()
{
    const auto *const display = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!display)
        return false;
    xcb_connection_t *const connection = display->connection();
    // The toolkit, too, knows the first screen only.
    constexpr std::string_view selection = "_NET_SYSTEM_TRAY_S0";
    const auto atom = owned(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 1, selection.size(), selection.data()), nullptr));
    if (!atom || atom->atom == XCB_ATOM_NONE)
        return false;
    const auto owner = owned(xcb_get_selection_owner_reply(
        connection, xcb_get_selection_owner(connection, atom->atom), nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}
