#pragma once

#include <QtGlobal>

#include <cstddef>
#include <vector>

/// One access unit of an AAC stream: 1024 frames.
using AacPacket = std::vector<std::byte>;

/// What a decoder and a container need to know of an AAC stream.
struct AacFormat {
    int sampleRate = 48000; ///< frames per second
    int channelCount = 2;
    int bitRate = 128000;                 ///< bits per second, nominal
    std::vector<std::byte> configuration; ///< AudioSpecificConfig, ISO/IEC 14496-3
};

/// Frames in a packet, and the delay of the encoder in frames.
inline constexpr qint64 aacFrameLength = 1024;
