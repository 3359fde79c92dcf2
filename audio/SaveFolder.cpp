#include "audio/SaveFolder.h"

#include "audio/MicRecorder.h"
#include "audio/SystemAudioRecorder.h"
#include "base/PrivateFolder.h"
#include "platform/AudioAssets.h"
#include "platform/Volume.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

using namespace Qt::StringLiterals;

namespace
{
constexpr qint64 reserveBytes = 4 * 1024 * 1024;
const auto namePrefix = u"recording-"_s;
constexpr QLatin1String mixEnding(".m4a");
const auto nameFormat = u"yyyy-MM-dd-HH-mm-ss"_s;

QString describe(const std::error_code &error)
{
    if (error == std::errc::permission_denied)
        return u"没有写入权限"_s;
    return systemErrorText(error.value());
}

/// \p stem: the path that the names of the files have in common.
RecordingFiles filesOf(const QString &stem)
{
    const QString path = QDir::cleanPath(stem);
    return RecordingFiles{.system = QUrl::fromLocalFile(path + systemTrackEnding),
                          .mic = QUrl::fromLocalFile(path + micTrackEnding),
                          .mix = QUrl::fromLocalFile(path + mixEnding)};
}
} // namespace

bool RecordingFiles::isListed(const RecordingSettings &settings) const
{
    return std::ranges::any_of(std::array{system, mic, mix}, [&settings](const QUrl &file) {
        return settings.listedFiles.contains(file.toLocalFile()) ||
               settings.listedNames.contains(QFileInfo(file.fileName()).completeBaseName());
    });
}

bool RecordingFiles::contains(const QString &path) const
{
    return std::ranges::any_of(std::array{system, mic, mix},
                               [&path](const QUrl &file) { return file.toLocalFile() == path; });
}

bool RecordingRoom::lasts(const Volume &volume, std::chrono::seconds duration) const
{
    const auto available = volume.availableBytes(folder);
    return !available || *available >= bytesPerSecond * duration.count() + reserveBytes;
}

RecordingRoom recordingRoom(const RecordingSettings &settings, bool systemOn, bool micOn)
{
    int bitRate = systemOn && micOn ? mixBitRate : 0;
    if (systemOn)
        bitRate += SystemAudioRecorder::encoding(settings.quality).bitRate;
    if (micOn)
        bitRate += MicRecorder::encoding(settings.quality).bitRate;
    return RecordingRoom{.folder = settings.saveDirectory.toLocalFile(),
                         .bytesPerSecond = bitRate / 8};
}

std::expected<void, Error> createSaveFolder(const RecordingSettings &settings)
{
    const QString folder = settings.saveDirectory.toLocalFile();
    auto error = makePrivateFolder(folder);
    // Ask with the effective rights, which opening a file will use.
    if (!error &&
        faccessat(AT_FDCWD, QFile::encodeName(folder).constData(), W_OK | X_OK, AT_EACCESS) != 0)
        error.assign(errno, std::generic_category());
    if (error) {
        return std::unexpected(
            recordingError(AudioRecorderError::directoryUnavailable, describe(error)));
    }
    return {};
}

RecordingFiles recordingFiles(const RecordingSettings &settings, const QDateTime &now)
{
    const QDir folder(settings.saveDirectory.toLocalFile());
    for (QDateTime second = now;; second = second.addSecs(1)) {
        const QString name = namePrefix + second.toString(nameFormat);
        const RecordingFiles files = filesOf(folder.absoluteFilePath(name));
        if (!files.isListed(settings))
            return files;
    }
}

RecordingFiles recordingFiles(const QString &path)
{
    for (const QLatin1String ending : {systemTrackEnding, micTrackEnding}) {
        if (path.endsWith(ending))
            return filesOf(path.chopped(ending.size()));
    }
    return filesOf(path.chopped(mixEnding.size()));
}

QDateTime recordingStart(const QUrl &file)
{
    return QDateTime::fromString(QFileInfo(file.fileName()).baseName().sliced(namePrefix.size()),
                                 nameFormat);
}

QUrl mixURL(const QUrl &systemURL)
{
    const QFileInfo track(systemURL.toLocalFile());
    const QString stem = QFileInfo(track.completeBaseName()).completeBaseName();
    return QUrl::fromLocalFile(track.dir().filePath(stem + mixEnding));
}
