#pragma once

#include "platform/AudioFileWriter.h"
#include "platform/linux/media/AacEncoder.h"

#include <QString>

#include <span>
#include <vector>

/// Sound as AAC packets, without a file.
struct EncodedSound {
    AacFormat format;
    std::vector<AacPacket> packets;
    qint64 frameCount = 0;
};

/// Encodes \p samples (interleaved) with the program's encoder.
EncodedSound encodeSound(const AudioEncoding &encoding, std::span<const float> samples);

/// What libav finds in a file, without decoding it.
struct StoredPackets {
    std::vector<AacPacket> packets;
    qint64 frameCount = 0; ///< from time 0
};

/// No packets when the file cannot be opened.
StoredPackets readPackets(const QString &path);
