#pragma once

#include "platform/Volume.h"

#include <QCoreApplication>
#include <QThread>

#include <functional>
#include <optional>

/// Has as much room as the test says.
class FakeVolume : public Volume
{
public:
    std::optional<qint64> availableBytes(const QString &) const override
    {
        if (QThread::currentThread() == QCoreApplication::instance()->thread())
            qFatal("a disk may keep the main thread waiting");
        if (beforeAnswer)
            beforeAnswer();
        return available;
    }

    std::optional<qint64> available;
    std::function<void()> beforeAnswer; ///< on the asking thread
};
