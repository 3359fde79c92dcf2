#pragma once

#include "core/RecentSession.h"

#include <QByteArray>
#include <QList>

#include <optional>

/// The content of a recents file: compact JSON, an array with one object for each entry, in order.
QByteArray encodeRecents(const QList<RecentSession> &sessions);

/// None unless \p content is such an array and every entry is whole: a required member that is
/// missing, or a member of the wrong kind, spoils the list. Unknown members are ignored.
std::optional<QList<RecentSession>> decodeRecents(const QByteArray &content);
