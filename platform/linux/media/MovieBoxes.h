#pragma once

#include "platform/linux/media/AacEncoder.h"
#include "platform/linux/media/Boxes.h"

#include <span>

/// The number of the only track.
inline constexpr quint32 soundTrackID = 1;

/// The description of a plain file's sound, which is in one piece, for its index.
struct SoundIndex {
    const AacFormat &format;
    std::span<const quint32> packetSizes; ///< bytes
    qint64 frameCount = 0;                ///< frames to be played, without the encoder's delay
    qint64 dataOffset = 0;                ///< of the first packet in the file
};

/// Which boxes a reader has to understand (ISO/IEC 14496-12, 4.3).
void writeFileType(BoxWriter &out);

/// The index of a plain file: `moov` with every packet in it (ISO/IEC 14496-12, 8.2).
void writeMovie(BoxWriter &out, const SoundIndex &index);

/// A bound for what writeMovie() writes.
qint64 movieSizeBound(const AacFormat &format, std::size_t packetCount);

/// The `moov` of a fragmented file: the format only, fragments follow (8.8).
void writeFragmentedMovie(BoxWriter &out, const AacFormat &format);
