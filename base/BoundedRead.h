#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// The whole content of the regular file at \p path. None when there is no such file, when it
/// cannot be read, is something else (a folder, a pipe, a device), or is longer than \p maxBytes.
/// Never waits for another process to write. Any thread.
std::optional<QByteArray> readRegularFile(const QString &path, qint64 maxBytes);
