#pragma once

#include "base/Error.h"
#include "platform/AudioAssets.h"
#include "platform/linux/media/LiveTrack.h"

#include <QList>
#include <QString>

#include <chrono>
#include <expected>
#include <memory>

class MixFile;

/// Mixes two tracks while they are recorded, on one thread of low priority, so that little is left
/// to do when they end. Memory: the index of the mix, 0.7 MB an hour.
///
/// Made and destroyed on the main thread, which neither waits for; finish() runs on any other.
/// When the mix is in doubt (a lost track, an error of the disk) its file is removed at once, and
/// the tracks need not keep their packets any longer.
class AheadMix : public MixAhead
{
public:
    /// Both tracks are at 48 kHz. Every \p lookInterval there is a look at what has come.
    AheadMix(std::shared_ptr<LiveTrack> first, std::shared_ptr<LiveTrack> second,
             const QString &outputPath,
             std::chrono::milliseconds lookInterval = std::chrono::seconds(1));

    /// Abandons the mix; its file is removed in the background.
    ~AheadMix() override;

    /// Completes the mix, once, after both tracks have ended. \p frameCounts: how long the closed
    /// files are, which must agree. The file is finished but not published. Blocks.
    std::expected<std::unique_ptr<MixFile>, Error> finish(const QList<qint64> &frameCounts);

private:
    class Work;
    std::shared_ptr<Work> m_work;
};
