#pragma once

#include "audio/RecordingError.h"
#include "base/Logger.h"
#include "platform/AudioFileWriter.h"
#include "settings/PrefsStore.h"

#include <QCoroTask>
#include <QObject>
#include <QUrl>

#include <expected>
#include <functional>
#include <memory>
#include <optional>

class CaptureService;
class CaptureStream;
class Clock;
class PeakMeter;
class SystemTrack;

/// Captures everything the machine plays, except this process, into one AAC file.
///
/// Owned by AudioRecorder. Operations run on the main thread; buffers arrive on the capture queue,
/// which shares only the peak level with the main thread.
class SystemAudioRecorder : public QObject
{
    Q_OBJECT

public:
    /// The platform objects must outlive this one and every start or stop in flight.
    SystemAudioRecorder(CaptureService &service, AudioFileWriterFactory &writers,
                        const Clock &clock);
    ~SystemAudioRecorder() override;

    /// How the track of a recording of \p quality is encoded.
    static AudioEncoding encoding(AudioQuality quality);

    /// Called on the main thread, once a capture, when it ended by itself or its file cannot be
    /// written any more. The file so far stays open until stop().
    void setOnStopWithError(std::function<void(const QString &reason)> handler);

    /// Completes once the capture runs. A file already at \p file (absolute) is replaced. Fails
    /// with a SystemAudioError or the platform's own error, and leaves nothing behind then.
    QCoro::Task<std::expected<void, Error>> start(QUrl file, AudioQuality quality);

    /// Ends the capture and closes the file. No value: nothing was running.
    QCoro::Task<std::optional<QUrl>> stop();

    /// Decayed sample peak, 0 to 1. Any thread; never waits for the capture queue's work.
    double currentLevel();

private:
    friend class SystemTrack;

    void reportStop(const QString &reason);

    const Logger m_logger{"audio.system"};
    CaptureService &m_service;
    AudioFileWriterFactory &m_writers;
    const std::shared_ptr<PeakMeter> m_meter;
    std::function<void(const QString &)> m_onStopWithError;

    // These belong to the running capture; the stream goes before the track that it delivers to.
    std::unique_ptr<SystemTrack> m_track;
    std::unique_ptr<CaptureStream> m_stream;
    QUrl m_outputURL;
};
