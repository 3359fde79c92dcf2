#pragma once

#include "base/Error.h"

#include <QCoroTask>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <expected>
#include <memory>
#include <optional>
#include <stop_token>

/// Bits per second of a mix.
inline constexpr int mixBitRate = 136000;

/// Two files to be heard at once, both from time zero.
class MixComposition
{
public:
    struct Part {
        QString path;
        double durationSeconds = 0.0;
    };

    /// Adds the first audio track of \p path from 0 to \p durationSeconds, placed at time zero.
    void insert(const QString &path, double durationSeconds)
    {
        m_parts.append(Part{path, durationSeconds});
    }

    const QList<Part> &parts() const { return m_parts; }

private:
    QList<Part> m_parts;
};

/// How an export ended.
struct ExportOutcome {
    bool completed = false;
    std::optional<Error> error; ///< may be missing for an export that did not complete
};

/// A mix of two tracks that is being made while they are still recorded, by whoever records them.
/// Destroying it drops the mix and its temporary file. Main thread; the work runs elsewhere.
class MixAhead
{
public:
    virtual ~MixAhead() = default;

    /// Completes the mix, once, after both tracks were closed, and gives the file its name. Fails
    /// without a trace unless the mix is whole and as long as \p composition, the closed tracks,
    /// says: an export of these makes the same file, only later.
    virtual QCoro::Task<std::expected<void, Error>> finish(MixComposition composition) = 0;
};

/// One rendering of a composition into a file. Destroying it during run() is not allowed.
class ExportSession
{
public:
    virtual ~ExportSession() = default;

    /// Writes the file; the name appears only when it is complete. Runs off the calling thread.
    /// Soon after \p stop is asked for it ends without having completed.
    virtual QCoro::Task<ExportOutcome> run(std::stop_token stop) = 0;
};

/// Reads, joins and finishes audio files. Main thread; the work runs elsewhere.
class AudioAssets
{
public:
    virtual ~AudioAssets() = default;

    /// How many audio tracks a file has. Fails when it cannot be read as an MPEG-4 file.
    virtual QCoro::Task<std::expected<int, Error>> audioTrackCount(QString path) = 0;

    virtual QCoro::Task<std::expected<double, Error>> durationSeconds(QString path) = 0;

    /// Follows two tracks from the moment their recording has begun, to have the mix ready when
    /// they are closed. Null where that is not possible.
    virtual std::unique_ptr<MixAhead> mixAhead(const QString &first, const QString &second,
                                               const QString &outputPath) = 0;

    /// An export of \p composition to \p outputPath as 48 kHz stereo AAC in an MPEG-4 audio file.
    /// The export is null when the encoder cannot be made.
    virtual std::unique_ptr<ExportSession> makeExport(const MixComposition &composition,
                                                      const QString &outputPath) = 0;

    /// Gives a closed track its final form: the index in front, the first sample at zero, the exact
    /// length. When that fails, or \p stop is asked for, the file stays as it was, which plays.
    virtual QCoro::Task<std::expected<void, Error>> finishTrack(QString path,
                                                                std::stop_token stop) = 0;

    /// The tracks in \p folder, of those whose names fit \p nameFilters, that an ended run has
    /// neither closed nor finished. Sorted by name.
    virtual QCoro::Task<QStringList> abandonedTracks(QString folder, QStringList nameFilters) = 0;

    /// The files in \p folder, of those whose names fit \p nameFilters, that have changed after
    /// \p time and that nobody is writing.
    virtual QCoro::Task<QStringList> filesChangedSince(QString folder, QStringList nameFilters,
                                                       QDateTime time) = 0;

    /// Removes the temporary files that an interrupted run left in \p folder.
    virtual void removeLeftovers(const QString &folder) = 0;
};
