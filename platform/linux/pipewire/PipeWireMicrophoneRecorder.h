#pragma once

#include "platform/MicrophoneRecorder.h"
#include "platform/linux/pipewire/PipeWireServer.h"
#include "platform/linux/pipewire/TrackOrigin.h"

#include <QObject>

#include <memory>

class CaptureTrack;
class MicrophoneWriter;

/// Records the default input into a file. What is not a microphone is recorded as silence.
class PipeWireMicrophoneRecorder : public MicrophoneRecorder
{
public:
    /// \p server and \p origin outlive the recorder.
    PipeWireMicrophoneRecorder(PipeWireServer &server, TrackOrigin &origin,
                               std::unique_ptr<AudioFileWriter> writer,
                               const AudioEncoding &encoding);
    ~PipeWireMicrophoneRecorder() override;

    void setMeteringEnabled(bool enabled) override;
    void setEventHandler(std::function<void(const MicrophoneEvent &)> handler) override;
    QCoro::Task<bool> prepare() override;
    QCoro::Task<bool> record() override;
    QCoro::Task<> stop() override;
    float averagePower(int channel) const override;

private:
    void post(const MicrophoneEvent &event);

    const AudioEncoding m_encoding;
    QObject m_context; ///< receives the worker's events on the main thread
    std::function<void(const MicrophoneEvent &)> m_handler;
    const std::shared_ptr<MicrophoneWriter> m_file;
    std::shared_ptr<CaptureTrack> m_track;
    bool m_isStopped = false;
    bool m_isRecording = false; ///< from record() to stop(): the time in which events are told
};
