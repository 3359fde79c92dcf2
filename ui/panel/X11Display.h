#pragma once

#include <QByteArray>

#include <xcb/xcb.h>
#include <cstdlib>
#include <memory>

/// The few questions that are asked of an X11 display beside the toolkit. Each waits for the
/// server's answer: microseconds. Main thread.

/// The toolkit's connection to the X server; null without X11.
xcb_connection_t *connectionToX11();

xcb_window_t rootWindow(xcb_connection_t *connection);

/// XCB_ATOM_NONE where the server does not answer.
xcb_atom_t atom(xcb_connection_t *connection, const QByteArray &name);

/// The window that holds the selection of this name; XCB_WINDOW_NONE without one.
xcb_window_t selectionOwner(xcb_connection_t *connection, const QByteArray &name);

/// Whether windows are blended with what is behind them.
bool isComposited();

/// A reply of the server, which the library allocates with malloc().
template<class Reply>
using Owned = std::unique_ptr<Reply, decltype(&std::free)>;

template<class Reply>
Owned<Reply> owned(Reply *reply)
{
    return {reply, &std::free};
}
