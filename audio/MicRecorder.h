#pragma once

#include "audio/RecordingError.h"
#include "base/Logger.h"
#include "platform/AudioFileWriter.h"
#include "platform/MicrophoneRecorder.h"
#include "settings/PrefsStore.h"

#include <QCoroTask>
#include <QObject>
#include <QUrl>

#include <expected>
#include <functional>
#include <memory>
#include <optional>

/// Records the default microphone into one AAC file of its own.
///
/// Owned by AudioRecorder. Main thread.
class MicRecorder : public QObject
{
    Q_OBJECT

public:
    /// \p microphones must outlive this object and every start or stop in flight.
    explicit MicRecorder(Microphones &microphones);

    /// How the track of a recording of \p quality is encoded.
    static AudioEncoding encoding(AudioQuality quality);

    /// Called for everything that happens to the microphone while it is recorded.
    void setOnEvent(std::function<void(const MicrophoneEvent &)> handler);

    /// Asks for access and completes once sound is recorded. A file already at \p file (absolute)
    /// is replaced, but stays where access is refused.
    QCoro::Task<std::expected<void, Error>> start(QUrl file, AudioQuality quality);

    /// Ends the recording and closes the file. No value: nothing was recording.
    QCoro::Task<std::optional<QUrl>> stop();

    /// The recorder with its meter, while recording; else null.
    const MicrophoneRecorder *recorder() const { return m_recorder.get(); }

private:
    const Logger m_logger{"audio.mic"};
    Microphones &m_microphones;
    std::function<void(const MicrophoneEvent &)> m_onEvent;
    std::unique_ptr<MicrophoneRecorder> m_recorder;
    QUrl m_outputURL;
};
