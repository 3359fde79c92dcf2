#pragma once

#include "platform/AudioFileWriter.h"
#include "platform/linux/media/LiveTrack.h"

#include <QString>

#include <memory>

/// Writes a track as AAC into a fragmented MPEG-4 audio file under its final name, and hands every
/// packet to whoever follows the track meanwhile.
class TrackWriter final : public AudioFileWriter
{
public:
    /// For the file at \p path (absolute). \p liveTracks outlives the writer.
    TrackWriter(const QString &path, LiveTracks &liveTracks);
    ~TrackWriter() override;

    TrackWriter(const TrackWriter &) = delete;
    TrackWriter &operator=(const TrackWriter &) = delete;

    bool addInput(const AudioEncoding &encoding) override;
    bool startWriting() override;
    void startSession(MediaTime presentationTime) override;
    bool isReady() const override;
    bool append(const AudioBuffer &buffer) override;
    std::optional<Error> failure() const override;
    QCoro::Task<> finish() override;
    void cancel() override;

private:
    struct State;
    const QString m_path;
    LiveTracks &m_liveTracks;
    std::shared_ptr<State> m_state; ///< shared with finish(), which may outlive the writer
};

class TrackWriterFactory final : public AudioFileWriterFactory
{
public:
    /// \p liveTracks outlives the factory and its writers.
    explicit TrackWriterFactory(LiveTracks &liveTracks)
        : m_liveTracks(liveTracks)
    {
    }

    std::expected<std::unique_ptr<AudioFileWriter>, Error> create(const QString &path) override;

private:
    LiveTracks &m_liveTracks;
};
