#pragma once

#include "platform/AudioFileWriter.h"

/// What a mix is encoded as. The encoder's fast coder needs 136 kbit/s for the quality that its
/// slow one has at 128.
inline constexpr AudioEncoding mixEncoding{
    .sampleRate = 48000,
    .channelCount = 2,
    .bitRate = 136000,
};
