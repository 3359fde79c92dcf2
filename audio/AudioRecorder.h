#pragma once

#include "audio/MicRecorder.h"
#include "audio/RecordingError.h"
#include "audio/SaveFolder.h"
#include "audio/SystemAudioRecorder.h"
#include "audio/UnlistedRecordings.h"

#include <QCoroTask>
#include <QObject>
#include <QUrl>

#include <expected>
#include <functional>
#include <memory>
#include <optional>

class AudioAssets;
class MixAhead;
class Volume;

/// The parts of the platform that recording needs. All of them outlive the recorder and its tasks.
struct AudioPlatform {
    CaptureService &captureService;
    Microphones &microphones;
    AudioFileWriterFactory &writers;
    AudioAssets &assets;
    const Volume &volume;
    const Clock &clock;
    QString journalPath; ///< a file that remembers where a recording is made; empty: none does
};

/// Records audio for the rest of the application: starts and stops the enabled sources, names their
/// files, and decides which single file stands for a recording.
///
/// Owned by AppState for the life of the process. Main thread.
class AudioRecorder : public QObject
{
    Q_OBJECT

public:
    /// How loud each source is now, 0 to 1: a decaying sample peak, and an average power.
    struct Levels {
        double system = 0.0;
        double mic = 0.0;
    };

    explicit AudioRecorder(const AudioPlatform &platform);
    ~AudioRecorder() override;

    /// Completes once every requested source runs; after a failure none does. Fails while another
    /// start is under way, or sources are being stopped, as it does while recording.
    QCoro::Task<std::expected<void, Error>> start(bool systemOn, bool micOn,
                                                  RecordingSettings settings);

    /// The file of the finished recording; none when nothing usable was recorded, or nothing was
    /// active: a start under way goes on and is ended by a later stop.
    QCoro::Task<std::optional<QUrl>> stop();

    /// Why a file of the last recording could not be made plain; it plays all the same.
    const std::optional<Error> &finishFailure() const { return m_finishFailure; }

    /// See UnlistedRecordings.h.
    QCoro::Task<QList<UnlistedRecording>> unlistedRecordings(RecordingSettings settings,
                                                             QDateTime since);
    QCoro::Task<std::optional<RecoveredRecording>> recover(UnlistedRecording recording,
                                                           std::stop_token stop);

    /// Zero while inactive.
    Levels currentLevels();

    /// From the moment that all requested sources run until stop() begins.
    bool isActive() const { return m_isActive; }

    /// Whether the machine's sound belongs to the running recording.
    bool recordsSystemAudio() const { return m_systemURL.has_value(); }

    /// Whether the running recording may go on for \p duration before the disk is full. True also
    /// while the disk still owes the answer to the same question.
    QCoro::Task<bool> hasRoomFor(std::chrono::seconds duration);

    /// Called on the main thread when the capture of the machine's sound ended by itself.
    void setOnSystemAudioError(std::function<void(const QString &reason)> handler);

    /// Called on the main thread for what happens to the microphone.
    void setOnMicEvent(std::function<void(const MicrophoneEvent &event)> handler);

private:
    using Started = std::expected<void, Error>;

    QCoro::Task<std::expected<RecordingFiles, Error>> makeURLs(RecordingSettings settings,
                                                               RecordingRoom room);
    QCoro::Task<Started> startSources(bool systemOn, bool micOn, RecordingFiles files,
                                      AudioQuality quality);
    QCoro::Task<> abandonSystem();

    AudioPlatform m_platform;
    SystemAudioRecorder m_system;
    MicRecorder m_mic;
    bool m_isActive = false;
    bool m_isBusy = false; // sources are being started or stopped
    bool m_isAskingForRoom = false;
    std::optional<QUrl> m_systemURL; // while the source runs
    std::optional<QUrl> m_micURL;
    std::optional<Error> m_finishFailure;
    RecordingRoom m_room;
    std::unique_ptr<MixAhead> m_mixAhead;
};
