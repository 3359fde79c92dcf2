#include "audio/MicRecorder.h"

#include "audio/ClosedTracks.h"

#include <QPointer>

#include <utility>

using namespace Qt::StringLiterals;

MicRecorder::MicRecorder(Microphones &microphones)
    : m_microphones(microphones)
{
}

AudioEncoding MicRecorder::encoding(AudioQuality quality)
{
    const int bitRate = quality == AudioQuality::standard ? 48000 : 64000;
    return AudioEncoding{.sampleRate = 48000, .channelCount = 1, .bitRate = bitRate};
}

void MicRecorder::setOnEvent(std::function<void(const MicrophoneEvent &)> handler)
{
    m_onEvent = std::move(handler);
}

QCoro::Task<std::expected<void, Error>> MicRecorder::start(QUrl file, AudioQuality quality)
{
    using enum MicError;
    const QPointer self(this);
    Microphones &microphones = m_microphones;
    const QString path = file.toLocalFile();
    const AudioEncoding format = encoding(quality);

    const bool granted = co_await microphones.requestAccess();
    if (!granted || !self) // or the application is closing
        co_return std::unexpected(recordingError(permissionDenied));
    co_await removeFile(path); // usually there is none
    auto created = co_await microphones.create(path, format);
    if (!created)
        co_return std::unexpected(recordingError(setupFailed, created.error().description()));
    if (!self)
        co_return std::unexpected(recordingError(setupFailed));

    auto recorder = std::move(*created);
    recorder->setMeteringEnabled(true);
    recorder->setEventHandler([self](const MicrophoneEvent &event) {
        if (self && self->m_onEvent)
            self->m_onEvent(event);
    });
    bool recording = co_await recorder->prepare();
    if (recording)
        recording = co_await recorder->record();
    if (!recording) {
        recorder.reset();
        co_await removeFile(path); // a file that was begun is no recording
        co_return std::unexpected(
            recordingError(setupFailed, u"prepareToRecord/record returned false"_s));
    }
    if (!self) {
        co_await recorder->stop();
        co_return std::unexpected(recordingError(setupFailed));
    }
    m_recorder = std::move(recorder);
    m_outputURL = file;
    m_logger.info(u"mic → "_s + file.fileName());
    co_return {};
}

QCoro::Task<std::optional<QUrl>> MicRecorder::stop()
{
    if (!m_recorder)
        co_return std::nullopt;
    // Out of the object before the wait: a second stop finds nothing, and the closing of the file
    // survives the owner.
    const auto recorder = std::move(m_recorder);
    const QUrl file = std::exchange(m_outputURL, QUrl());
    co_await recorder->stop();
    co_return file;
}
