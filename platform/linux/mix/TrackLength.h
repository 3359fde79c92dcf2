#pragma once

#include "base/Error.h"

#include <QString>

#include <expected>

/// How many frames are heard of the closed fragmented track at \p path. Its last fragment tells,
/// so that it takes no longer for a long file; one that does not end with a whole fragment is an
/// error. Any thread.
std::expected<qint64, Error> fragmentedLength(const QString &path);

/// The same for a finished file of ours, whose index is asked. Its boxes must fill the file. Any
/// thread.
std::expected<qint64, Error> indexedLength(const QString &path);
