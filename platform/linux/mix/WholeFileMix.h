#pragma once

#include "base/Error.h"
#include "platform/AudioAssets.h"

#include <QString>

#include <expected>
#include <stop_token>

/// Mixes the closed files of \p composition into a new file at \p outputPath: both from frame 0,
/// as long as the longest.
///
/// Blocks the calling thread. \p stop makes it fail within a second or two. After a failure nothing
/// new is left, and what stood at \p outputPath is as it was.
std::expected<void, Error> mixWholeFiles(const MixComposition &composition,
                                         const QString &outputPath,
                                         const std::stop_token &stop = {});
