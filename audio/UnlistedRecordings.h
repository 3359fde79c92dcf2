#pragma once

#include "audio/SaveFolder.h"

#include <QCoroTask>
#include <QDateTime>
#include <QList>
#include <QUrl>

#include <optional>
#include <stop_token>

class AudioAssets;

/// A recording that an earlier run has not listed, because the program or the machine ended.
///
/// An unfinished track tells of it. Once that is finished only the time does: a file that has
/// changed since the recording began, and is not in the list, has been forgotten. One that is older
/// is the user's own affair.
struct UnlistedRecording {
    RecordingFiles files;
    bool isFinished = false; ///< none of its tracks is unfinished; it may still be the user's own
};

/// The recordings in the folder of \p settings that are not listed, the finished ones first: their
/// time is all that tells of them. \p since: when the oldest of them began; invalid where none was
/// being made, so that no finished file counts as forgotten. Main thread.
QCoro::Task<QList<UnlistedRecording>>
unlistedRecordings(AudioAssets &assets, RecordingSettings settings, QDateTime since);

/// The file that stands for a recording now.
struct RecoveredRecording {
    QUrl file;
    QDateTime startedAt; ///< to the second, as its name says
    double durationSeconds = 0.0;
};

/// Concludes \p recording, unless it is finished, and finds its file. One that had just begun, with
/// nothing in its tracks, is none second long, and its tracks are gone. No value: nothing in it can
/// be read, or \p stop was asked for, which leaves it for the next time. Main thread; \p assets
/// must outlive it.
QCoro::Task<std::optional<RecoveredRecording>>
recoverRecording(AudioAssets &assets, UnlistedRecording recording, std::stop_token stop);
