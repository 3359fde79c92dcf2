#pragma once

#include "base/Error.h"
#include "platform/linux/media/Libav.h"

#include <QString>

#include <expected>

/// What there is to know of a closed file without reading its sound.
struct TrackFacts {
    int audioTrackCount = 0;
    int sampleRate = 0;    ///< of the first audio track, frames per second
    qint64 frameCount = 0; ///< length of the first audio track as it is heard, at its own rate
};

/// Fails when \p path is no MPEG-4 file, whatever else it may be, or is damaged. Any thread; quick
/// at any length for a track whose recording has just been closed.
std::expected<TrackFacts, Error> inspectTrack(const QString &path);

/// Opens a file that has an index as MPEG-4 file.
std::expected<LibavInput, Error> openIndexedFile(const QString &path);

/// Null when there is none.
const AVStream *firstAudioTrack(const AVFormatContext &file);

/// Length of \p track, one of openIndexedFile(), as it is heard, in frames at its own rate.
std::expected<qint64, Error> audibleFrames(const AVStream &track);
