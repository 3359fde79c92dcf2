#pragma once

#include "base/Error.h"

#include <QString>

#include <expected>

/// How many frames are heard of the closed, or left behind, fragmented track at \p path. Its last
/// whole fragment tells, so that it takes no longer for a long file; what a kill has left of one
/// more does not count. Without a whole fragment, an error. Any thread.
std::expected<qint64, Error> fragmentedLength(const QString &path);

/// The same for a finished file of ours, whose index is asked. Its boxes must fill the file. Any
/// thread.
std::expected<qint64, Error> indexedLength(const QString &path);
