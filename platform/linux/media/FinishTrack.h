#pragma once

#include "base/Error.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <expected>
#include <stop_token>

/// Rewrites the closed, or left behind, fragmented track at \p path as a plain file: the index in
/// front, the first sample at zero, the exact length. Packets are copied. A plain file stays as it
/// is.
///
/// The new file is made beside the old one, checked, and takes its name; when anything fails, or
/// \p stop is asked for, the old one stays. Any thread; takes about a quarter of a second for an
/// hour.
std::expected<void, Error> makePlainFile(const QString &path, const std::stop_token &stop = {});

/// The fragmented tracks in \p folder that nobody is writing, by name. Any thread.
QStringList abandonedTrackFiles(const QString &folder, const QStringList &nameFilters);

/// The files in \p folder that have changed after \p time and that nobody is writing, by name. Any
/// thread.
QStringList filesChangedSince(const QString &folder, const QStringList &nameFilters,
                              const QDateTime &time);
