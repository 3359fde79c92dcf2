#include "base/Logger.h"
#include "base/Tasks.h"
#include "core/AppState.h"
#include "core/RecordingFile.h"
#include "core/SessionText.h"
#include "platform/Clock.h"
#include "settings/PrefsStore.h"

#include <QCoroFuture>
#include <QDir>
#include <QFile>
#include <QFuture>
#include <QPointer>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
constexpr Logger logger("audio");
constexpr double shortestKeptSeconds = 10.0;
constexpr int ticksBetweenRoomChecks = 5;
constexpr auto roomToGoOn = 60s;
constexpr auto patienceOfLeaving = 2s;

RecentSession untitledEntry(const QUrl &file, double seconds, const QDateTime &startedAt)
{
    RecentSession entry;
    entry.duration = formatDuration(seconds);
    entry.durationSeconds = static_cast<qint64>(seconds);
    entry.startedAt = startedAt;
    entry.fileURL = file;
    entry.clientRecordingId = clientRecordingId(file);
    return entry;
}

QString cleanPath(const QUrl &file)
{
    return QDir::cleanPath(file.toLocalFile());
}

/// Whether the entry was made when the list had to be rebuilt from the files, by whatever start:
/// nobody else calls a recording after its file.
bool isRebuilt(const RecentSession &session)
{
    return session.fileURL && session.title == recordingBaseName(session.fileURL->fileName());
}
} // namespace

void AppState::toggleRecording()
{
    switch (m_state) {
    case RecordingState::starting:
    case RecordingState::stopping:
        return;
    case RecordingState::recording:
        runDetached(stopRecording());
        return;
    case RecordingState::idle:
        if (m_startInFlight)
            return;
        if (!m_systemAudioOn && !m_micOn)
            setLastError(u"至少开启一个音源（系统声音或麦克风）"_s);
        else
            runDetached(startRecording());
        return;
    }
}

QCoro::Task<> AppState::startRecording()
{
    const QPointer self(this);
    m_startInFlight = true;
    m_state = RecordingState::starting;
    m_lastError.reset();
    Q_EMIT stateChanged();
    Q_EMIT lastErrorChanged();

    auto settings = recordingSettings();
    m_journal.begin(QDir(m_prefs.saveLocation()).absolutePath(), m_clock.now());
    const auto started = co_await m_recorder.start(m_systemAudioOn, m_micOn, std::move(settings));
    if (!self)
        co_return; // the application is closing
    m_startInFlight = false;
    if (started) {
        beginRecording();
        co_return;
    }
    m_journal.end();
    m_lastError = started.error().description();
    logger.error(u"no recording: %1"_s.arg(*m_lastError));
    m_state = RecordingState::idle;
    Q_EMIT stateChanged();
    Q_EMIT lastErrorChanged();
}

void AppState::beginRecording()
{
    m_state = RecordingState::recording;
    m_elapsed = 0.0;
    m_recordingStartedAt = m_clock.now();
    if (!m_selectedTag)
        m_selectedTag = SessionTag::meeting;
    m_timer.start();
    Q_EMIT stateChanged();
    Q_EMIT elapsedChanged();
    Q_EMIT sessionChanged();
}

QCoro::Task<> AppState::stopRecording()
{
    const QPointer self(this);
    m_timer.stop();
    setState(RecordingState::stopping);
    const auto file = co_await m_recorder.stop();
    if (!self)
        co_return; // the application is closing
    m_state = RecordingState::idle;
    StopOutcome end;
    if (file)
        end = listRecording(*file);
    else
        m_journal.end();
    if (end.message)
        m_lastError = end.message;
    Q_EMIT stateChanged();
    if (!file)
        co_return;
    Q_EMIT recentsChanged();
    if (end.message)
        Q_EMIT lastErrorChanged();
    Q_EMIT sessionChanged();
    if (end.kept)
        uploadAfterStop(*end.kept);
}

AppState::StopOutcome AppState::listRecording(const QUrl &file)
{
    StopOutcome end;
    if (m_elapsed < shortestKeptSeconds) {
        QFile::remove(file.toLocalFile());
        m_journal.end();
        end.message = u"录音不足 10 秒，已自动丢弃"_s;
    } else {
        end.kept = makeEntry(file);
        list().prepend(*end.kept);
        if (saveRecents())
            m_journal.end();
        if (const auto &failure = m_recorder.finishFailure())
            end.message = u"录音已保存，但文件整理失败："_s + failure->description();
    }
    m_sessionTitle.clear();
    m_selectedTag.reset();
    return end;
}

RecentSession AppState::makeEntry(const QUrl &file) const
{
    const QDateTime now = m_clock.now();
    const QDateTime startedAt = m_recordingStartedAt.isValid() ? m_recordingStartedAt : now;
    RecentSession entry = untitledEntry(file, m_elapsed, startedAt);
    entry.title = m_sessionTitle.isEmpty() ? defaultTitle(now) : m_sessionTitle;
    entry.when = u"刚刚"_s;
    return entry;
}

RecentSession AppState::makeEntry(const RecoveredRecording &recording) const
{
    const QDateTime now = m_clock.now();
    const QDateTime startedAt = recording.startedAt.isValid() ? recording.startedAt : now;
    RecentSession entry = untitledEntry(recording.file, recording.durationSeconds, startedAt);
    entry.title = defaultTitle(startedAt);
    entry.when = relativeTime(startedAt, now);
    return entry;
}

QCoro::Task<> AppState::recoverRecordings()
{
    const QPointer self(this);
    const std::stop_token stop = m_recoveryStop.get_token();
    m_isRecovering = true;
    co_await loaded();
    if (!self)
        co_return;
    // A track that was being recorded when somebody copied the folder is looked for as well.
    QList<RecordingJournal::Entry> places = m_journal.left();
    const QString current = QDir(m_prefs.saveLocation()).absolutePath();
    if (std::ranges::find(places, current, &RecordingJournal::Entry::folder) == places.end())
        places.append({current, QDateTime()});
    for (const auto &[folder, since] : places) {
        co_await recoverFrom(folder, since);
        if (!self)
            co_return; // the application is closing
    }
    m_isRecovering = false;
    Q_EMIT workEnded();
}

QCoro::Task<> AppState::recoverFrom(QString folder, QDateTime since)
{
    const QPointer self(this);
    const std::stop_token stop = m_recoveryStop.get_token();
    const auto isThere = inBackground([folder] { return QDir(folder).exists(); });
    bool isSearched = co_await isThere; // a volume may come back
    if (!self || !isSearched)
        co_return;
    auto settings = recoverySettings(folder);
    const auto unlisted = co_await m_recorder.unlistedRecordings(std::move(settings), since);
    for (const UnlistedRecording &recording : unlisted) {
        if (!self || stop.stop_requested())
            co_return;
        const auto recovered = co_await m_recorder.recover(recording, stop);
        if (self && recovered)
            isSearched = listRecovered(recording, *recovered) && isSearched;
    }
    if (self && isSearched && !stop.stop_requested())
        m_journal.forget(folder);
}

bool AppState::listRecovered(const UnlistedRecording &recording,
                             const RecoveredRecording &recovered)
{
    const auto isOfIt = [&recording](const RecentSession &listed) {
        return listed.fileURL && recording.files.contains(cleanPath(*listed.fileURL));
    };
    const bool isTooShort = recovered.durationSeconds < shortestKeptSeconds;
    const bool isListed = std::ranges::any_of(recents(), isOfIt);
    if (recording.isFinished && isTooShort != isListed)
        return true;
    list().removeIf(isOfIt);
    const RecentSession entry = makeEntry(recovered);
    if (isTooShort) {
        // A finished file that is too short is kept: the user may have put it there.
        if (!recording.isFinished)
            QFile::remove(recovered.file.toLocalFile());
    } else {
        const auto older = std::ranges::find_if(list(), [&entry](const RecentSession &listed) {
            return listed.startedAt < entry.startedAt;
        });
        list().insert(older, entry);
    }
    if (isTooShort && !isListed)
        return true;
    const bool isSaved = saveRecents();
    Q_EMIT recentsChanged();
    if (!isTooShort)
        uploadAfterStop(entry);
    return isSaved;
}

QCoro::Task<> AppState::handleSystemAudioError(QString message)
{
    if (isStartingOrRecording())
        co_await stopAndTell(u"系统音频已停止："_s + message);
}

void AppState::handleMicEvent(const MicrophoneEvent &event)
{
    if (!isStartingOrRecording())
        return;
    switch (event.kind) {
    case MicrophoneEvent::Kind::interrupted:
        m_interruption = event.text;
        setLastError(event.text);
        return;
    case MicrophoneEvent::Kind::resumed:
        if (m_lastError == m_interruption)
            clearLastError();
        return;
    case MicrophoneEvent::Kind::ended:
        if (m_recorder.recordsSystemAudio())
            setLastError(event.text);
        else
            runDetached(stopAndTell(event.text));
        return;
    }
}

QCoro::Task<> AppState::stopAndTell(QString message)
{
    const QPointer self(this);
    co_await stopRecording();
    if (self)
        setLastError(message);
}

QCoro::Task<> AppState::finishForQuit()
{
    const QPointer self(this);
    m_recoveryStop.request_stop();
    while (self && (m_state != RecordingState::idle || m_startInFlight)) {
        if (m_state == RecordingState::recording) {
            co_await stopRecording();
        } else {
            const auto changed = QtFuture::connect(this, &AppState::stateChanged);
            co_await changed;
        }
    }
    if (!self)
        co_return; // the application is closing
    QTimer patience;
    patience.setSingleShot(true);
    connect(&patience, &QTimer::timeout, this, &AppState::workEnded);
    patience.start(patienceOfLeaving);
    while (self && (m_isRecovering || m_savesInFlight > 0) && patience.isActive()) {
        const auto ended = QtFuture::connect(this, &AppState::workEnded);
        co_await ended;
    }
}

void AppState::tick()
{
    m_elapsed += 1.0;
    Q_EMIT elapsedChanged();
    const bool isCheckDue = static_cast<qint64>(m_elapsed) % ticksBetweenRoomChecks == 0;
    if (isCheckDue)
        runDetached(stopWithoutRoom());
}

QCoro::Task<> AppState::stopWithoutRoom()
{
    const QPointer self(this);
    const bool hasRoom = co_await m_recorder.hasRoomFor(roomToGoOn);
    if (self && !hasRoom && m_state == RecordingState::recording)
        co_await stopAndTell(u"磁盘空间不足，已自动停止录音"_s);
}

bool AppState::isStartingOrRecording() const
{
    return m_state == RecordingState::recording || m_state == RecordingState::starting;
}

RecordingSettings AppState::recordingSettings() const
{
    RecordingSettings settings;
    settings.saveDirectory = QUrl::fromLocalFile(m_prefs.saveLocation());
    settings.quality = m_prefs.audioQuality();
    for (const RecentSession &session : recents()) {
        if (session.fileURL)
            settings.listedFiles.insert(cleanPath(*session.fileURL));
        if (session.clientRecordingId)
            settings.listedNames.insert(recordingName(*session.clientRecordingId));
    }
    return settings;
}

/// A list that was rebuilt holds the tracks of a killed recording as if they were recordings.
RecordingSettings AppState::recoverySettings(const QString &folder) const
{
    RecordingSettings settings = recordingSettings();
    settings.saveDirectory = QUrl::fromLocalFile(folder);
    for (const RecentSession &session : recents()) {
        if (!isRebuilt(session))
            continue;
        settings.listedFiles.remove(cleanPath(*session.fileURL));
        settings.listedNames.remove(recordingBaseName(session.fileURL->fileName()));
    }
    return settings;
}
