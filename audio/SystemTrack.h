#pragma once

#include "base/Logger.h"
#include "platform/AudioFileWriter.h"
#include "platform/CaptureService.h"

#include <QPointer>

#include <atomic>
#include <memory>

class PeakMeter;
class SystemAudioRecorder;

/// The receiving end of one capture of the machine's sound: puts the buffers into its file and
/// shows them to the meter.
///
/// Made on the main thread. Buffers arrive on the capture queue, which alone touches the writer
/// between the start of the stream and its stop. Must outlive the stream that delivers to it.
class SystemTrack : public CaptureListener
{
public:
    /// Tells \p owner on the main thread, if it still lives then, when the capture ends by itself.
    SystemTrack(QPointer<SystemAudioRecorder> owner, std::shared_ptr<PeakMeter> meter,
                std::shared_ptr<AudioFileWriter> writer);

    /// For finishing or cancelling the file, once the stream has stopped.
    AudioFileWriter &writer() { return *m_writer; }

    void didCapture(const AudioBuffer &buffer) override;
    void didStop(const Error &reason) override;

private:
    void reportEnd(const Error &reason);

    const Logger m_logger{"audio.system"};
    const QPointer<SystemAudioRecorder> m_owner; // followed on the main thread only
    const std::shared_ptr<PeakMeter> m_meter;
    const std::shared_ptr<AudioFileWriter> m_writer;
    bool m_sessionStarted = false; // capture queue
    bool m_writerFailed = false;   // capture queue
    std::atomic<bool> m_reported = false;
};
