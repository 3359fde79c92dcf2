#pragma once

#include "base/Error.h"

#include <QByteArray>
#include <QString>

#include <expected>

/// Replaces small files so that a kill, a power cut or a full disk leaves the old bytes or the new
/// ones, never a mixture. Any thread; one writer for each path. Blocks until the disk has the file.
namespace AtomicFile
{
/// What happens to a file that stands at the path.
enum class Old {
    replaced,
    keptAside, ///< whatever it is (a folder, a pipe), it is renamed to the path with ".old" added
};

/// Writes \p content to \p path, readable by this user only. A link there is replaced, not
/// followed. The folder must exist. After a failure everything is as it was before.
std::expected<void, Error> replace(const QString &path, const QByteArray &content,
                                   Old old = Old::replaced);

/// Removes the temporary files that interrupted calls for \p path have left beside it.
void removeLeftovers(const QString &path);
} // namespace AtomicFile
