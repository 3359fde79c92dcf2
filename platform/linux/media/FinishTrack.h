#pragma once

#include "base/Error.h"

#include <QString>
#include <QStringList>

#include <expected>

/// Rewrites the closed, or left behind, fragmented track at \p path as a plain file: the index in
/// front, the first sample at zero, the exact length. Packets are copied. A plain file stays as it
/// is.
///
/// The new file is made beside the old one, checked, and takes its name; when anything fails the
/// old one stays. Any thread; takes about a quarter of a second for an hour.
std::expected<void, Error> finishTrackFile(const QString &path);

/// The fragmented tracks in \p folder that nobody is writing, by name. Any thread.
QStringList abandonedTrackFiles(const QString &folder, const QStringList &nameFilters);
