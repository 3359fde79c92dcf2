#pragma once

#include "audio/AudioRecorder.h"
#include "core/RecentSession.h"
#include "core/RecentsFile.h"
#include "core/RecordingState.h"
#include "core/SessionTag.h"

#include <QCoroTask>
#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>
#include <optional>

class PrefsStore;

/// The state of the application that the views show and work on: the recording and the list of
/// recent recordings.
///
/// Owned by the application for the life of the process. Main thread. It stores and announces;
/// readers read again after a signal, which comes when everything that belongs together is set.
class AppState : public QObject
{
    Q_OBJECT

public:
    /// Loads the list from the save folder. The platform objects and \p prefs must outlive this
    /// one. \p second is what the counter of elapsed seconds takes for one.
    AppState(const AudioPlatform &platform, PrefsStore &prefs,
             std::chrono::milliseconds second = std::chrono::seconds(1), QObject *parent = nullptr);
    ~AppState() override;

    RecordingState state() const { return m_state; }

    /// Seconds counted during the current recording, or the last one until the next has started.
    double elapsed() const { return m_elapsed; }
    QString elapsedFormatted() const;

    /// Which sources the next recording has.
    bool systemAudioOn() const { return m_systemAudioOn; }
    void setSystemAudioOn(bool enabled);
    bool micOn() const { return m_micOn; }
    void setMicOn(bool enabled);

    /// What the user calls the recording; empty for the default title.
    const QString &sessionTitle() const { return m_sessionTitle; }
    void setSessionTitle(const QString &title);
    std::optional<SessionTag> selectedTag() const { return m_selectedTag; }
    void setSelectedTag(std::optional<SessionTag> tag);

    /// The last message for the user.
    const std::optional<QString> &lastError() const { return m_lastError; }
    void clearLastError();

    /// Newest first.
    const QList<RecentSession> &recents() const { return m_recents; }

    AudioRecorder &recorder() { return m_recorder; }

    /// Starts or stops a recording. Returns at once; nothing happens while either is under way.
    void toggleRecording();

    /// The capture of the machine's sound has ended by itself for the reason \p message.
    QCoro::Task<> handleSystemAudioError(QString message);

    /// For leaving the application: completes when nothing is recorded any more. A recording, also
    /// one that is just starting, is stopped and kept by the usual rules. Never completes if this
    /// object is destroyed meanwhile.
    QCoro::Task<> finishForQuit();

Q_SIGNALS:
    void stateChanged();
    void elapsedChanged();
    void sourcesChanged();
    void sessionChanged(); ///< title or tag
    void lastErrorChanged();
    void recentsChanged();

private:
    // The outcomes of these are in the state, the list and the last error.
    QCoro::Task<> startRecording();
    QCoro::Task<> stopRecording();

    void setState(RecordingState state);
    void setLastError(const QString &message);
    void saveRecents();

    RecordingSettings recordingSettings() const;
    void beginRecording();
    void concludeRecording(const QUrl &file);
    RecentSession makeEntry(const QUrl &file) const;
    void tick();
    void handleMicEvent(const MicrophoneEvent &event);
    QCoro::Task<> stopAndTell(QString message);
    bool isStartingOrRecording() const;

    const Clock &m_clock;
    PrefsStore &m_prefs;
    RecordingState m_state = RecordingState::idle;
    double m_elapsed = 0.0;
    bool m_systemAudioOn = true;
    bool m_micOn = true;
    QString m_sessionTitle;
    std::optional<SessionTag> m_selectedTag;
    std::optional<QString> m_lastError;
    QList<RecentSession> m_recents;
    RecentsFile m_recentsFile;
    AudioRecorder m_recorder;
    QTimer m_timer;
    QDateTime m_recordingStartedAt;
    bool m_startInFlight = false; // also where a failed capture has made the state idle again
};
