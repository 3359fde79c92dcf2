#pragma once

#include "base/Error.h"
#include "platform/linux/media/FragmentReader.h"
#include "platform/linux/media/Libav.h"
#include "platform/linux/mix/DecodedSound.h"
#include "platform/linux/mix/TrackDecoder.h"

#include <QString>

#include <expected>
#include <optional>
#include <span>
#include <vector>

/// Reads the first audio track of a closed file, at 48 kHz, as stereo, exact to the frame: without
/// the encoder's delay in front and without what its last packet holds beyond the track's length.
///
/// A track whose recording has just been closed is read by fragments, in memory that does not
/// depend on its length; any other by its index. Used by one thread at a time.
class TrackReader
{
public:
    /// Fails for a track at another rate as well: ours have none.
    static std::expected<TrackReader, Error> open(const QString &path);

    /// Length in frames at 48 kHz.
    qint64 frameCount() const { return m_frameCount; }

    /// Fills \p stereo with the next frames, with silence beyond the end. Fails when a packet
    /// cannot be decoded or the file holds less than it says.
    std::expected<void, Error> read(std::span<float> stereo);

private:
    TrackReader(TrackDecoder decoder, qint64 frameCount);
    static std::expected<TrackReader, Error> openFragments(FragmentReader fragments,
                                                           const QString &path);
    static std::expected<TrackReader, Error> openIndexed(const QString &path);

    std::expected<void, Error> decodeMore();
    std::expected<bool, Error> decodeFragment();
    std::expected<bool, Error> decodeIndexed();

    std::optional<FragmentReader> m_fragments; ///< if it is fragmented,
    qint64 m_packetNumber = 0;                 ///< of its next packet,
    LibavInput m_file;                         ///< else this
    int m_streamIndex = 0;
    LibavPacket m_packet{libav().av_packet_alloc()};
    TrackDecoder m_decoder;
    DecodedSound m_sound;
    qint64 m_frameCount = 0;
};
