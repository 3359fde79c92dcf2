#pragma once

#include "platform/AudioFileWriter.h"
#include "platform/CaptureService.h"
#include "platform/MicrophoneRecorder.h"
#include "platform/linux/pipewire/PowerMeter.h"
#include "platform/linux/pipewire/TrackOrigin.h"

#include <functional>
#include <memory>

/// What becomes of a microphone's sound: measured, and written into a file that begins together
/// with the track of the machine's sound, where there is one.
///
/// Called by the track's worker, apart from the operations of its writer before and after.
class MicrophoneWriter : public CaptureListener
{
public:
    using EventHandler = std::function<void(const MicrophoneEvent &)>;

    /// \p handler is called on the worker. \p origin outlives this.
    MicrophoneWriter(std::unique_ptr<AudioFileWriter> writer, TrackOrigin &origin,
                     EventHandler handler);

    AudioFileWriter &writer() { return *m_writer; }
    const PowerMeter &meter() const { return m_meter; }

    /// Before the first sound.
    void setMeteringEnabled(bool enabled) { m_isMetering = enabled; }

    void didCapture(const AudioBuffer &buffer) override;
    void didStop(const Error &reason) override;
    void microphoneChanged(bool isPresent);

private:
    void begin(MediaTime firstSound);
    void end(const QString &text);

    const std::unique_ptr<AudioFileWriter> m_writer;
    const TrackOrigin &m_origin;
    const EventHandler m_handler;
    PowerMeter m_meter;
    bool m_isMetering = false;
    bool m_hasBegun = false;
    bool m_hasEnded = false;
};
