#pragma once

#include "audio/RecordingError.h"
#include "settings/PrefsStore.h"

#include <QDateTime>
#include <QLatin1String>
#include <QSet>
#include <QString>
#include <QUrl>

#include <chrono>
#include <expected>

/// The settings of one recording.
struct RecordingSettings {
    QUrl saveDirectory; ///< the folder that receives the files; made when it is missing
    AudioQuality quality = AudioQuality::high;
    QSet<QString> listedFiles; ///< clean absolute paths; no new file takes their place
    QSet<QString> listedNames; ///< without ending; of recordings that may lie elsewhere by now
};

class Volume;

/// The files of one recording. Their paths are clean, as those of the listed files are.
struct RecordingFiles {
    QUrl system;
    QUrl mic;
    QUrl mix;

    /// Whether one of them is among the listed files of \p settings.
    bool isListed(const RecordingSettings &settings) const;

    /// Whether the file with the clean path \p path is one of them.
    bool contains(const QString &path) const;
};

/// How much room a recording takes, and where.
struct RecordingRoom {
    QString folder;
    qint64 bytesPerSecond = 0; ///< of the tracks and their mix together

    /// Whether \p volume takes \p duration more of it, and a reserve. True where that is unknown.
    bool lasts(const Volume &volume, std::chrono::seconds duration) const;
};

RecordingRoom recordingRoom(const RecordingSettings &settings, bool systemOn, bool micOn);

/// Creates the folder of \p settings with all its parents.
std::expected<void, Error> createSaveFolder(const RecordingSettings &settings);

/// Names after the second of \p now (local time), or after the first later one whose three names
/// are not among the listed files.
RecordingFiles recordingFiles(const RecordingSettings &settings, const QDateTime &now);

/// The endings of the names of the two tracks.
constexpr QLatin1String systemTrackEnding(".system.m4a");
constexpr QLatin1String micTrackEnding(".mic.m4a");

/// The files of the recording that the track or mix at \p path belongs to.
RecordingFiles recordingFiles(const QString &path);

/// When the recording with the file \p file began, in local time, as its name says; invalid where
/// it does not.
QDateTime recordingStart(const QUrl &file);

/// The file that replaces both tracks: the name of \p systemURL without its last two extensions.
QUrl mixURL(const QUrl &systemURL);
