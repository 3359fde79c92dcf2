#pragma once

#include "platform/AudioAssets.h"

#include <QDateTime>

class LiveTracks;

/// Tracks and mixes as MPEG-4 files.
///
/// A mix is ready at once when it could be made while its tracks were recorded; whenever that is in
/// doubt it is made of the closed files.
class FileAudioAssets : public AudioAssets
{
public:
    /// \p tracks: where the tracks being recorded are found; outlives this object.
    explicit FileAudioAssets(LiveTracks &tracks);

    QCoro::Task<std::expected<int, Error>> audioTrackCount(QString path) override;
    QCoro::Task<std::expected<double, Error>> durationSeconds(QString path) override;
    std::unique_ptr<MixAhead> mixAhead(const QString &first, const QString &second,
                                       const QString &outputPath) override;
    std::unique_ptr<ExportSession> makeExport(const MixComposition &composition,
                                              const QString &outputPath) override;
    QCoro::Task<std::expected<void, Error>> finishTrack(QString path,
                                                        std::stop_token stop) override;
    QCoro::Task<QStringList> abandonedTracks(QString folder, QStringList nameFilters) override;
    QCoro::Task<QStringList> filesChangedSince(QString folder, QStringList nameFilters,
                                               QDateTime time) override;
    void removeLeftovers(const QString &folder) override;

private:
    LiveTracks &m_tracks;
    const QDateTime m_begun = QDateTime::currentDateTimeUtc(); ///< what is older, others left
};
