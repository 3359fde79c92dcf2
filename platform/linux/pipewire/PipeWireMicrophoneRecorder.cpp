#include "platform/linux/pipewire/PipeWireMicrophoneRecorder.h"

#include "base/Tasks.h"
#include "platform/AudioBuffer.h"
#include "platform/linux/pipewire/CaptureTrack.h"
#include "platform/linux/pipewire/MicrophoneWriter.h"

#include <QCoroFuture>

using namespace Qt::StringLiterals;

PipeWireMicrophoneRecorder::PipeWireMicrophoneRecorder(PipeWireServer &server, TrackOrigin &origin,
                                                       std::unique_ptr<AudioFileWriter> writer,
                                                       const AudioEncoding &encoding)
    : m_encoding(encoding)
    , m_file(std::make_shared<MicrophoneWriter>(
          std::move(writer), origin, [this](const MicrophoneEvent &event) { post(event); }))
{
    const CaptureTrack::Settings settings{
        false,
        encoding.sampleRate,
        encoding.channelCount,
        u"com.parlovance.audio.mic"_s,
        "audio.mic",
        [file = m_file.get()](bool isPresent) { file->microphoneChanged(isPresent); }};
    m_track = std::make_shared<CaptureTrack>(server, *m_file, settings);
}

PipeWireMicrophoneRecorder::~PipeWireMicrophoneRecorder()
{
    m_track->close();
}

void PipeWireMicrophoneRecorder::setMeteringEnabled(bool enabled)
{
    m_file->setMeteringEnabled(enabled);
}

void PipeWireMicrophoneRecorder::setEventHandler(
    std::function<void(const MicrophoneEvent &)> handler)
{
    m_handler = std::move(handler);
}

void PipeWireMicrophoneRecorder::post(const MicrophoneEvent &event)
{
    const auto tell = [this, event] {
        if (m_isRecording && m_handler)
            m_handler(event);
    };
    QMetaObject::invokeMethod(&m_context, tell, Qt::QueuedConnection);
}

QCoro::Task<bool> PipeWireMicrophoneRecorder::prepare()
{
    const std::shared_ptr<MicrophoneWriter> file = m_file;
    const auto creating = inBackground([file, encoding = m_encoding] {
        return file->writer().addInput(encoding) && file->writer().startWriting();
    });
    co_return co_await creating;
}

QCoro::Task<bool> PipeWireMicrophoneRecorder::record()
{
    const std::shared_ptr<CaptureTrack> track = m_track;
    m_isRecording = true;
    const auto outcome = co_await CaptureTrack::start(track);
    if (!outcome)
        Logger("audio.mic").error(outcome.error().description());
    co_return outcome.has_value();
}

QCoro::Task<> PipeWireMicrophoneRecorder::stop()
{
    const std::shared_ptr<MicrophoneWriter> file = m_file;
    const std::shared_ptr<CaptureTrack> track = m_track;
    if (std::exchange(m_isStopped, true))
        co_return;
    m_isRecording = false;
    co_await CaptureTrack::stop(track);
    co_await file->writer().finish();
}

float PipeWireMicrophoneRecorder::averagePower(int channel) const
{
    return channel == 0 ? m_file->meter().decibels(mediaNow()) : PowerMeter::floorDecibels;
}
