#pragma once

#include "base/Tasks.h"

#include <QFile>
#include <QString>

/// Removes the file at \p path, where there is one. In the background: a large file may take a disk
/// its time.
inline QFuture<void> removeFile(const QString &path)
{
    return inBackground([path] { QFile::remove(path); });
}
