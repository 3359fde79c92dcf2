#pragma once

#include "base/Error.h"

#include <QDateTime>
#include <QString>

#include <expected>

/// Files that are being made beside their final place, under a name that no list takes for a
/// recording. Written through OutputFile, whose lock tells that somebody is at work.

/// The temporary name for \p target, in its folder.
QString partPath(const QString &target);

/// Gives the complete and synced file at partPath() its name, replacing what stands there. An error
/// also when the disk did not learn the name: until it did, nothing that the file was made of may
/// go.
std::expected<void, Error> publishPart(const QString &target);

/// Whether nobody writes the file at \p path through an OutputFile. False where it cannot be
/// opened.
bool isAbandoned(const QString &path);

/// Removes the part files of recordings in \p folder that nobody is writing and nobody has written
/// since \p time: a finished one is not locked in the moment before it gets its name.
void removeAbandonedParts(const QString &folder, const QDateTime &time);
