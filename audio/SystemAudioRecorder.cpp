#include "audio/SystemAudioRecorder.h"

#include "audio/PeakMeter.h"
#include "audio/SystemTrack.h"
#include "base/Tasks.h"
#include "platform/CaptureService.h"

#include <QFile>
#include <QPointer>

using namespace Qt::StringLiterals;

namespace
{
// Shared, because a future's value is copied.
using WriterResult = std::expected<std::shared_ptr<AudioFileWriter>, Error>;

WriterResult setupWriter(AudioFileWriterFactory &writers, const QString &path,
                         const AudioEncoding &encoding)
{
    QFile::remove(path); // usually there is none
    auto writer = writers.create(path);
    if (!writer)
        return std::unexpected(writer.error());
    if ((*writer)->addInput(encoding) && (*writer)->startWriting())
        return std::move(*writer);
    writer->reset();
    QFile::remove(path); // a file that was begun is no recording
    return std::unexpected(recordingError(SystemAudioError::writerSetupFailed));
}
} // namespace

SystemAudioRecorder::SystemAudioRecorder(CaptureService &service, AudioFileWriterFactory &writers,
                                         const Clock &clock)
    : m_service(service)
    , m_writers(writers)
    , m_meter(std::make_shared<PeakMeter>(clock))
{
}

SystemAudioRecorder::~SystemAudioRecorder() = default;

AudioEncoding SystemAudioRecorder::encoding(AudioQuality quality)
{
    const int bitRate = quality == AudioQuality::standard ? 64000 : 128000;
    return AudioEncoding{.sampleRate = 48000, .channelCount = 2, .bitRate = bitRate};
}

void SystemAudioRecorder::setOnStopWithError(std::function<void(const QString &)> handler)
{
    m_onStopWithError = std::move(handler);
}

QCoro::Task<std::expected<void, Error>> SystemAudioRecorder::start(QUrl file, AudioQuality quality)
{
    using enum SystemAudioError;
    const QPointer self(this);
    const QString path = file.toLocalFile();
    const auto meter = m_meter;

    const auto targets = co_await m_service.targets();
    if (!targets) {
        co_return std::unexpected(recordingError(permissionDenied, targets.error().description()));
    }
    if (targets->isEmpty())
        co_return std::unexpected(recordingError(noDisplayAvailable));
    if (!self)
        co_return std::unexpected(Error(QString())); // the application is closing

    auto stream = m_service.makeStream(targets->first(), CaptureFormat());
    const auto setUp = [&writers = m_writers, path, format = encoding(quality)] {
        return setupWriter(writers, path, format);
    };
    const auto settingUp = inBackground(setUp);
    const auto writer = co_await settingUp;
    if (!writer) {
        co_await stream->stop();
        co_return std::unexpected(writer.error());
    }
    auto track = std::make_unique<SystemTrack>(self, meter, *writer);
    auto started = stream->deliverTo(*track, u"com.parlovance.audio.system"_s);
    if (started)
        started = co_await stream->start();
    if (!started) {
        co_await stream->stop();
        const auto abandon = [writer = *writer, path] {
            writer->cancel();
            QFile::remove(path);
        };
        const auto abandoned = inBackground(abandon);
        co_await abandoned;
        co_return std::unexpected(started.error());
    }
    if (!self) {
        co_await stream->stop();
        co_await track->writer().finish();
        co_return std::unexpected(Error(QString()));
    }
    m_track = std::move(track);
    m_stream = std::move(stream);
    m_outputURL = file;
    m_logger.info(u"system → "_s + file.fileName());
    co_return {};
}

QCoro::Task<std::optional<QUrl>> SystemAudioRecorder::stop()
{
    if (!m_stream)
        co_return std::nullopt;
    // Out of the object before the first wait: a second stop finds nothing, and the closing of the
    // file survives the owner.
    const auto track = std::move(m_track);
    const auto stream = std::move(m_stream);
    const QUrl file = std::exchange(m_outputURL, QUrl());
    co_await stream->stop();
    co_await track->writer().finish();
    co_return file;
}

double SystemAudioRecorder::currentLevel()
{
    return m_meter->currentLevel();
}

void SystemAudioRecorder::reportStop(const QString &reason)
{
    if (m_onStopWithError)
        m_onStopWithError(reason);
}
