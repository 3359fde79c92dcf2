#pragma once

#include <QString>

#include <optional>

/// The file system under a folder.
class Volume
{
public:
    virtual ~Volume() = default;

    /// Bytes that this user can still write below \p folder; none when that cannot be told.
    virtual std::optional<qint64> availableBytes(const QString &folder) const = 0;
};
