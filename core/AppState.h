#pragma once

#include "audio/AudioRecorder.h"
#include "cloud/MediaUploader.h"
#include "core/RecentSession.h"
#include "core/RecentsFile.h"
#include "core/RecordingJournal.h"
#include "core/RecordingState.h"

#include <QCoroTask>
#include <QDateTime>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QPromise>
#include <QString>
#include <QTimer>
#include <QUuid>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

class AuthClient;
class PrefsStore;

/// The state of the application that the views show and work on: the recording, the list of recent
/// recordings, and their uploads.
///
/// Owned by the application for the life of the process. Main thread. It stores and announces;
/// readers read again after a signal, which comes when everything that belongs together is set.
class AppState : public QObject
{
    Q_OBJECT

public:
    /// Begins to load the list from the save folder. The platform objects and \p prefs must outlive
    /// this one. \p second is what the counter of elapsed seconds takes for one.
    AppState(const AudioPlatform &platform, MediaUploader uploader, PrefsStore &prefs,
             std::chrono::milliseconds second = std::chrono::seconds(1), QObject *parent = nullptr);
    ~AppState() override;

    RecordingState state() const { return m_state; }

    /// Seconds counted during the current recording, or the last one until the next has started.
    double elapsed() const { return m_elapsed; }
    QString elapsedFormatted() const;

    /// The sources of the next recording.
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

    /// Newest first. Waits for the list where it is still being loaded.
    const QList<RecentSession> &recents() const { return list(); }

    /// Completes once recents() no longer waits.
    QCoro::Task<> loaded();

    AudioRecorder &recorder() { return m_recorder; }

    /// Starts or stops a recording. Returns at once; nothing happens while either is under way.
    void toggleRecording();

    /// The capture of the machine's sound has ended by itself for the reason \p message.
    QCoro::Task<> handleSystemAudioError(QString message);

    /// Lists the recordings that an earlier run did not stop, or not list, because it was killed,
    /// or the machine was. Too short ones are thrown away as always. Once, at launch.
    QCoro::Task<> recoverRecordings();

    /// For leaving the application: completes when nothing is recorded any more. A recording, also
    /// one that is just starting, is stopped and kept by the usual rules. Recovering is broken off;
    /// the next launch goes on with it. What is still to be saved has some seconds for that: a
    /// volume may hang. Completes also if this object is destroyed meanwhile.
    QCoro::Task<> finishForQuit();

    /// Whose session uploads are made with; null for nobody's. It may go before this object does.
    /// Every call, whatever it sets, starts a reconcile.
    void setAuth(AuthClient *auth);

    // An identifier may be one of the list itself, which these replace: hence by value.

    /// Uploads a recording. Returns at once; the outcome is in the entry. Nothing happens where
    /// there is no such entry, or it has no file or is uploaded already.
    void startUpload(QUuid sessionID);

    /// The same for an entry in whatever state. Any number of uploads may run at once, also of one
    /// entry, where the last to end has the last word.
    void retryUpload(QUuid sessionID);

    /// Asks the service which recordings of the list it holds, and marks those. Silent. One runs at
    /// a time: all calls during it together start one more behind it, with which they complete.
    QCoro::Task<> reconcileUploadedSessions();

    /// The same without an end to wait for, and at no cost during one: anybody can have it started
    /// any number of times, by handing in addresses.
    void startReconcile();

Q_SIGNALS:
    void stateChanged();
    void elapsedChanged();
    void sourcesChanged();
    void sessionChanged();   ///< title or tag
    void lastErrorChanged(); ///< set, perhaps to the same message again, or cleared
    void recentsChanged();
    void workEnded(); ///< recovering, or saving in the background

private:
    /// How a recording ended.
    struct StopOutcome {
        std::optional<RecentSession> kept; ///< its entry; none where it was too short
        std::optional<QString> message;    ///< for the user
    };

    // The outcomes of these are in the state, the list and the last error.
    QCoro::Task<> startRecording();
    QCoro::Task<> stopRecording();

    void setState(RecordingState state);
    void setLastError(const QString &message);
    QList<RecentSession> &list() const;

    /// Whether the list on the disk is that in memory now.
    bool saveRecents();

    QCoro::Task<> saveLoaded();

    /// For a save that nobody waits for: a list of ten thousand would hold up the main thread for
    /// two frames.
    QCoro::Task<> saveInBackground();
    void endSave();

    RecordingSettings recordingSettings() const;
    RecordingSettings recoverySettings(const QString &folder) const;

    /// Lists what the earlier run left in \p folder. \p since as for unlistedRecordings().
    QCoro::Task<> recoverFrom(QString folder, QDateTime since);

    /// Whether the next launch need not look for it again.
    bool listRecovered(const UnlistedRecording &recording, const RecoveredRecording &recovered);
    void beginRecording();
    StopOutcome listRecording(const QUrl &file);
    RecentSession makeEntry(const QUrl &file) const;
    RecentSession makeEntry(const RecoveredRecording &recording) const;
    void tick();
    void handleMicEvent(const MicrophoneEvent &event);
    QCoro::Task<> stopWithoutRoom();
    QCoro::Task<> stopAndTell(QString message);
    bool isStartingOrRecording() const;

    std::optional<RecentSession> session(QUuid sessionID) const;
    std::optional<QString> token() const;
    QCoro::Task<> reconcileOnce();
    void uploadAfterStop(const RecentSession &entry);
    void beginUpload(const RecentSession &entry, const QString &clientRecordingId);
    QCoro::Task<> upload(QUuid sessionID, UploadRequest request);
    void handleFailedUpload(QUuid sessionID, const ServiceFailure &failure, const QString &token);
    QString ensureClientRecordingID(QUuid sessionID, const QUrl &fileURL);

    /// Applies \p change to the entry, saves and announces. Without the entry nothing happens.
    void updateSession(QUuid sessionID, const std::function<void(RecentSession &)> &change);

    const Clock &m_clock;
    PrefsStore &m_prefs;
    RecordingState m_state = RecordingState::idle;
    double m_elapsed = 0.0;
    bool m_systemAudioOn = true;
    bool m_micOn = true;
    QString m_sessionTitle;
    std::optional<SessionTag> m_selectedTag;
    std::optional<QString> m_lastError;
    QString m_interruption; ///< what m_lastError says of a microphone that is away
    mutable QFuture<RecentsFile::Loaded> m_loading; ///< until the list is asked for
    mutable QList<RecentSession> m_recents;         ///< only by list()
    mutable RecentsFile m_recentsFile;
    RecordingJournal m_journal;
    AudioRecorder m_recorder;
    MediaUploader m_uploader;
    QPointer<AuthClient> m_auth;
    QTimer m_timer;
    QDateTime m_recordingStartedAt;
    std::unique_ptr<QPromise<void>> m_reconciling; ///< while one runs
    bool m_isReconcileWanted = false;
    bool m_isRecovering = false;
    int m_savesInFlight = 0;
    std::stop_source m_recoveryStop;
    bool m_startInFlight = false; // also where a failed capture has made the state idle again
};
