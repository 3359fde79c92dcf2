#pragma once

#include "base/Error.h"
#include "platform/linux/media/FragmentReader.h"
#include "platform/linux/media/Libav.h"
#include "platform/linux/mix/RateConverter.h"
#include "platform/linux/mix/TrackDecoder.h"
#include "platform/linux/mix/TrackTimeline.h"

#include <QString>

#include <expected>
#include <optional>
#include <span>
#include <vector>

/// Reads the first audio track of a closed file as 48 kHz stereo, exact to the frame: without the
/// encoder's delay in front and without what its last packet holds beyond the track's length.
///
/// A track whose recording has just been closed is read by fragments, in memory that does not
/// depend on its length; any other by its index. Used by one thread at a time.
class TrackReader
{
public:
    static std::expected<TrackReader, Error> open(const QString &path);

    /// Length in frames at 48 kHz.
    qint64 frameCount() const { return m_frameCount; }

    /// Fills \p stereo with the next frames, with silence beyond the end. Fails when a packet
    /// cannot be decoded or the file holds less than it says.
    std::expected<void, Error> read(std::span<float> stereo);

private:
    explicit TrackReader(TrackDecoder decoder);
    static std::expected<TrackReader, Error> openFragments(FragmentReader fragments,
                                                           const QString &path);
    static std::expected<TrackReader, Error> openIndexed(const QString &path);
    std::expected<void, Error> setLength(qint64 nativeFrames);

    std::expected<void, Error> readNative(std::span<float> stereo);
    std::expected<void, Error> readConverted(std::span<float> stereo);
    std::expected<void, Error> decodeMore();
    std::expected<bool, Error> decodeFragment();
    std::expected<bool, Error> decodeIndexed();

    std::optional<FragmentReader> m_fragments; ///< if it is fragmented,
    qint64 m_packetNumber = 0;                 ///< of its next packet,
    LibavInput m_file;                         ///< else this
    int m_streamIndex = 0;
    LibavPacket m_packet{libav().av_packet_alloc()};
    TrackDecoder m_decoder;
    TrackTimeline m_timeline;
    std::optional<RateConverter> m_converter; ///< only for a track that is not at 48 kHz
    std::vector<float> m_block;               ///< what the converter is fed with
    qint64 m_nativeFrames = 0;                ///< length at the track's own rate
    qint64 m_frameCount = 0;
    qint64 m_position = 0; ///< frames read, at 48 kHz
};
