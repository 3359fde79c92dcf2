#pragma once

#include "base/Error.h"
#include "base/Tasks.h"

#include <QCoroTask>
#include <QFile>
#include <QFuture>
#include <QString>
#include <QUrl>

#include <expected>
#include <memory>
#include <optional>
#include <stop_token>

class AudioAssets;
class MixAhead;

/// From the closed tracks of a recording to the file that stands for it. None of these knows a
/// recorder, so that they end whatever becomes of that. Main thread; the work runs elsewhere.
/// \p assets must outlive them.

/// Whether there is a file, and sound in it.
QFuture<bool> fileHasContent(const std::optional<QUrl> &url);

/// A failure is logged, too; the file stays as it was, which plays.
QCoro::Task<std::expected<void, Error>> finishTrack(AudioAssets &assets, QUrl track,
                                                    std::stop_token stop = {});

/// The outcome of a recording.
struct ConcludedRecording {
    std::optional<QUrl> file;     ///< that stands for it; none where neither track has sound
    std::optional<Error> failure; ///< of finishing a track
};

/// Mixes both tracks, or finishes those that have sound. \p ahead may be null. There is no file
/// either where \p stop has broken it off, which leaves at least one track unfinished.
QCoro::Task<ConcludedRecording> concludeRecording(AudioAssets &assets, std::optional<QUrl> system,
                                                  std::optional<QUrl> mic,
                                                  std::unique_ptr<MixAhead> ahead,
                                                  std::stop_token stop = {});

/// Removes the file at \p path, where there is one. In the background: a large file may take a disk
/// its time.
inline QFuture<void> removeFile(const QString &path)
{
    return inBackground([path] { QFile::remove(path); });
}
