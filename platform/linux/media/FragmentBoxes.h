#pragma once

#include "platform/linux/media/AacPacket.h"
#include "platform/linux/media/BoxWriter.h"

#include <span>

/// One fragment: `moof` and `mdat`. All packets last aacFrameLength frames, except that the last
/// one lasts \p lastDuration.
struct SoundFragment {
    quint32 sequenceNumber = 1;
    qint64 startFrame = 0; ///< with the encoder's delay, so the first fragment's is 0
    std::span<const quint32> packetSizes;
    std::span<const std::byte> data; ///< the packets
    qint64 lastDuration = aacFrameLength;
};
void writeFragment(BoxWriter &out, const SoundFragment &fragment);
