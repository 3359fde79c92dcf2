#pragma once

#include <QString>

#include <array>

/// When a finished recording is uploaded. Stored by its raw value.
enum class UploadStrategy { manual, immediate, wifiOnly };

/// The strategies that can be chosen now, in the order in which they are offered.
inline constexpr std::array activeCases{UploadStrategy::manual, UploadStrategy::immediate};

QString rawValue(UploadStrategy strategy);
