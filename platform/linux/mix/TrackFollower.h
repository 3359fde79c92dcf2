#pragma once

#include "base/Error.h"
#include "platform/linux/media/LiveTrack.h"
#include "platform/linux/mix/DecodedSound.h"
#include "platform/linux/mix/TrackDecoder.h"

#include <chrono>
#include <expected>
#include <memory>
#include <optional>
#include <span>

/// Reads a track that is still being recorded as stereo: the very samples that TrackReader gives of
/// the closed file. The track is at 48 kHz. Used by one thread at a time.
class TrackFollower
{
public:
    static std::expected<TrackFollower, Error> create(std::shared_ptr<LiveTrack> track);

    /// Decodes until \p frames frames can be read, waiting for packets for \p patience at most:
    /// true when they are there, or all there will ever be. False: not yet. Fails when the track
    /// was lost or is not what it says it is.
    std::expected<bool, Error> prepare(qint64 frames, std::chrono::milliseconds patience);

    /// Length in frames; none while it grows.
    std::optional<qint64> frameCount() const { return m_frameCount; }

    /// Reads what prepare() made ready, silence beyond the end.
    void read(std::span<float> stereo);

private:
    TrackFollower(std::shared_ptr<LiveTrack> track, TrackDecoder decoder);

    std::expected<void, Error> end();

    std::shared_ptr<LiveTrack> m_track;
    TrackDecoder m_decoder;
    DecodedSound m_sound;
    qint64 m_packets = 0; ///< decoded so far
    std::optional<qint64> m_frameCount;
};
