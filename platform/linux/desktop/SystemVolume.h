#pragma once

#include "platform/Volume.h"

/// Asks the file system itself. Any thread.
class SystemVolume : public Volume
{
public:
    /// A folder that does not exist yet is judged by the nearest parent that does.
    std::optional<qint64> availableBytes(const QString &folder) const override;
};
