#pragma once

#include "base/Error.h"
#include "platform/linux/media/Libav.h"

#include <QString>

#include <expected>

/// The facts of a closed file that are known without reading its sound.
struct TrackFacts {
    int audioTrackCount = 0;
    // The rest describes the first audio track.
    int sampleRate = 0; ///< frames per second
    int channelCount = 0;
    qint64 frameCount = 0; ///< as it is heard, at its own rate

    bool operator==(const TrackFacts &) const = default;
};

/// Fails when \p path is no MPEG-4 file, whatever else it may be, or is damaged. Any thread; quick
/// at any length for a track whose recording has just been closed.
std::expected<TrackFacts, Error> inspectTrack(const QString &path);

/// Opens a file that has an index as MPEG-4 file.
std::expected<LibavInput, Error> openIndexedFile(const QString &path);

/// The first audio track of \p file; null when there is none.
const AVStream *firstAudioTrack(const AVFormatContext &file);

/// Length of \p track, one of openIndexedFile(), as it is heard, in frames at its own rate.
std::expected<qint64, Error> audibleFrames(const AVStream &track);
