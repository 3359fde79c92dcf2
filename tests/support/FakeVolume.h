#pragma once

#include "platform/Volume.h"

/// Has as much room as the test says.
class FakeVolume : public Volume
{
public:
    std::optional<qint64> availableBytes(const QString &) const override { return available; }

    std::optional<qint64> available;
};
