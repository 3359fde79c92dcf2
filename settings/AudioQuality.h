#pragma once

#include <QString>

#include <array>

/// How well a recording sounds. Stored by its raw value.
enum class AudioQuality { standard, high, lossless };

/// The qualities that can be chosen now, in the order in which they are offered.
inline constexpr std::array recordingCases{AudioQuality::standard, AudioQuality::high};

QString rawValue(AudioQuality quality);
