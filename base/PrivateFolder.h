#pragma once

#include <QString>

#include <system_error>

/// Makes \p path, and the folders above it, unless a folder is there. Only this user may enter the
/// one that is made (mode 0700); those above it are made as usual. Any thread; blocks for the disk.
std::error_code makePrivateFolder(const QString &path);
