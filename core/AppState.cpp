#include "core/AppState.h"

#include "base/Tasks.h"
#include "core/SessionText.h"
#include "platform/AudioAssets.h"
#include "settings/PrefsStore.h"

#include <QCoroFuture>
#include <QDir>

#include <utility>

AppState::AppState(const AudioPlatform &platform, MediaUploader uploader, PrefsStore &prefs,
                   std::chrono::milliseconds second, QObject *parent)
    : QObject(parent)
    , m_clock(platform.clock)
    , m_prefs(prefs)
    , m_recentsFile(platform.clock)
    , m_journal(platform.journalPath)
    , m_recorder(platform)
    , m_uploader(std::move(uploader))
{
    // Handed on as calls of their own: a source that reports must not be stopped from within.
    m_recorder.setOnSystemAudioError([this](const QString &message) {
        const auto handle = [this, message] { runDetached(handleSystemAudioError(message)); };
        QMetaObject::invokeMethod(this, handle, Qt::QueuedConnection);
    });
    m_recorder.setOnMicEvent([this](const MicrophoneEvent &event) {
        const auto handle = [this, event] { handleMicEvent(event); };
        QMetaObject::invokeMethod(this, handle, Qt::QueuedConnection);
    });
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(second);
    connect(&m_timer, &QTimer::timeout, this, &AppState::tick);

    for (const auto &entry : m_journal.left())
        platform.assets.removeLeftovers(entry.folder);
    platform.assets.removeLeftovers(QDir(prefs.saveLocation()).absolutePath());
    m_loading = m_recentsFile.startLoading(prefs.saveLocation());
    runDetached(saveLoaded());
}

AppState::~AppState() = default;

QString AppState::elapsedFormatted() const
{
    return elapsedText(m_elapsed);
}

void AppState::setSystemAudioOn(bool enabled)
{
    m_systemAudioOn = enabled;
    Q_EMIT sourcesChanged();
}

void AppState::setMicOn(bool enabled)
{
    m_micOn = enabled;
    Q_EMIT sourcesChanged();
}

void AppState::setSessionTitle(const QString &title)
{
    m_sessionTitle = title;
    Q_EMIT sessionChanged();
}

void AppState::setSelectedTag(std::optional<SessionTag> tag)
{
    m_selectedTag = tag;
    Q_EMIT sessionChanged();
}

void AppState::clearLastError()
{
    m_lastError.reset();
    Q_EMIT lastErrorChanged();
}

void AppState::setState(RecordingState state)
{
    m_state = state;
    Q_EMIT stateChanged();
}

void AppState::setLastError(const QString &message)
{
    m_lastError = message;
    Q_EMIT lastErrorChanged();
}

QList<RecentSession> &AppState::list() const
{
    if (m_loading.isValid())
        m_recents = m_recentsFile.finishLoading(std::exchange(m_loading, {}).result());
    return m_recents;
}

QCoro::Task<> AppState::loaded()
{
    const auto loading = m_loading;
    if (!loading.isValid())
        co_return;
    [[maybe_unused]] const auto ignored = co_await loading;
}

QCoro::Task<> AppState::saveLoaded()
{
    const QPointer self(this);
    ++m_savesInFlight;
    co_await loaded();
    if (self && !recents().isEmpty())
        co_await saveInBackground();
    if (self)
        endSave();
}

bool AppState::saveRecents()
{
    // A failure is silent by design: the list in memory stays, and the next save tries again.
    return m_recentsFile.save(m_prefs.saveLocation(), recents()).has_value();
}

QCoro::Task<> AppState::saveInBackground()
{
    const QPointer self(this);
    ++m_savesInFlight;
    const auto draft = co_await m_recentsFile.draft(m_prefs.saveLocation(), recents());
    if (!self)
        co_return; // the application is closing
    m_recentsFile.adopt(draft);
    endSave();
}

void AppState::endSave()
{
    --m_savesInFlight;
    Q_EMIT workEnded();
}
