#pragma once

#include "base/Error.h"
#include "platform/AudioAssets.h"
#include "platform/linux/media/LiveTrack.h"

#include <QList>
#include <QString>

#include <chrono>
#include <expected>
#include <memory>

/// Mixes two tracks while they are recorded, on one thread of low priority, so that little is left
/// to do when they end. Memory: the index of the mix, 0.7 MB an hour.
///
/// Making and destroying it do not wait for anything. When the mix is in doubt (a lost track, an
/// error of the disk) its file is removed at once, and the tracks need not keep their packets any
/// longer.
class LiveMix : public MixAhead
{
public:
    /// Both tracks are at 48 kHz. Every \p lookInterval there is a look at what has come.
    LiveMix(std::shared_ptr<LiveTrack> first, std::shared_ptr<LiveTrack> second,
            const QString &outputPath,
            std::chrono::milliseconds lookInterval = std::chrono::seconds(1));

    /// Abandons the mix; its file is removed in the background.
    ~LiveMix() override;

    QCoro::Task<std::expected<void, Error>> finish(MixComposition composition) override;

private:
    class Work;
    std::shared_ptr<Work> m_work;
};
