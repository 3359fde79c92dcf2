#pragma once

#include "platform/linux/media/AacEncoder.h"
#include "platform/linux/media/Boxes.h"

#include <optional>
#include <span>
#include <vector>

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

/// The content of a fragment's index.
struct FragmentIndex {
    qint64 startFrame = 0; ///< with the encoder's delay
    qint64 frameCount = 0;
    std::vector<quint32> packetSizes;
};

/// Reads the content of a `moof` that writeFragment() wrote; none where it is damaged.
std::optional<FragmentIndex> readFragmentIndex(std::span<const std::byte> moof);

/// Whether \p data, the packets of a fragment, have reached the disk to their end: a machine that
/// was switched off may leave zeros, while a packet ends with three set bits and at most seven
/// clear ones (ISO/IEC 14496-3, 4.4.2.1).
bool isFragmentDataWhole(const FragmentIndex &index, std::span<const std::byte> data);
