#pragma once

#include "platform/AudioFileWriter.h"

/// What a mix is encoded as. For the quality that the encoder's slow coder has at 128 kbit/s its
/// fast one needs 136, and to leave out what hardly anybody hears.
inline constexpr AudioEncoding mixEncoding{
    .sampleRate = 48000,
    .channelCount = 2,
    .bitRate = 136000,
    .highestFrequency = 15000,
};
