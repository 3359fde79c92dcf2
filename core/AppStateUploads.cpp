#include "base/Tasks.h"
#include "cloud/AuthClient.h"
#include "core/AppState.h"
#include "core/RecordingFile.h"
#include "settings/PrefsStore.h"

#include <QCoroFuture>
#include <QFileInfo>
#include <QHash>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{
void markProcessing(RecentSession &entry)
{
    entry.status = RecentSession::Status::processing;
    entry.uploadProgress = u"上传中"_s;
}

void markFailed(RecentSession &entry, const QString &reason)
{
    entry.status = RecentSession::Status::failed;
    entry.uploadProgress = reason;
}

void markReady(RecentSession &entry)
{
    entry.status = RecentSession::Status::ready;
    entry.uploadProgress.reset();
}

void markSignedOut(RecentSession &entry)
{
    markFailed(entry, u"未登录"_s);
}

/// A list that somebody edited must not make us send any file of this machine to the service.
std::optional<ServiceFailure> refusal(const QUrl &fileURL)
{
    if (hasAudioExtension(QFileInfo(fileURL.toLocalFile()).fileName()))
        return std::nullopt;
    return Error(u"该文件不是录音，没有上传"_s);
}

/// Under which identifiers the service may know the recordings that count as not uploaded.
QStringList identifiersToLookUp(const QList<RecentSession> &recents)
{
    QStringList identifiers;
    for (const RecentSession &entry : recents) {
        if (entry.isUploaded())
            continue;
        if (entry.clientRecordingId && !entry.clientRecordingId->isEmpty())
            identifiers.append(*entry.clientRecordingId);
        else if (entry.fileURL)
            identifiers.append(clientRecordingId(*entry.fileURL));
    }
    return identifiers;
}

/// The meeting of each recording. Of two for one recording the first counts, as in an upload.
QHash<QString, QString> meetingByRecording(const QList<ReconciledMeeting> &meetings)
{
    QHash<QString, QString> map;
    map.reserve(meetings.size());
    for (const ReconciledMeeting &meeting : meetings) {
        if (!map.contains(meeting.clientRecordingId))
            map.insert(meeting.clientRecordingId, meeting.id);
    }
    return map;
}

/// Whether \p entry was changed.
bool adoptMeeting(RecentSession &entry, const QHash<QString, QString> &meetings)
{
    const bool isIdentified = !entry.clientRecordingId && entry.fileURL;
    if (isIdentified)
        entry.clientRecordingId = clientRecordingId(*entry.fileURL);
    if (entry.isUploaded() || !entry.clientRecordingId)
        return isIdentified;
    const auto found = meetings.constFind(*entry.clientRecordingId);
    if (found == meetings.cend())
        return isIdentified;
    entry.remoteID = *found;
    if (entry.status == RecentSession::Status::failed)
        markReady(entry);
    return true;
}
} // namespace

void AppState::setAuth(AuthClient *auth)
{
    m_auth = auth;
    QMetaObject::invokeMethod(this, &AppState::startReconcile, Qt::QueuedConnection);
    if (auth) {
        connect(auth, &AuthClient::sessionCameLate, this, &AppState::startReconcile,
                Qt::UniqueConnection);
    }
}

void AppState::startReconcile()
{
    if (m_reconciling)
        m_isReconcileWanted = true;
    else
        runDetached(reconcileUploadedSessions());
}

std::optional<QString> AppState::token() const
{
    return m_auth ? m_auth->token() : std::nullopt;
}

void AppState::uploadAfterStop(const RecentSession &entry)
{
    if (m_prefs.uploadStrategy() == UploadStrategy::immediate && token())
        startUpload(entry.id);
}

void AppState::startUpload(QUuid sessionID)
{
    const auto entry = session(sessionID);
    if (!entry || !entry->fileURL || entry->isUploaded())
        return;
    const QString identifier = ensureClientRecordingID(sessionID, *entry->fileURL);
    if (token())
        beginUpload(*entry, identifier);
    else
        updateSession(sessionID, markSignedOut);
}

void AppState::retryUpload(QUuid sessionID)
{
    const auto entry = session(sessionID);
    if (entry && entry->fileURL)
        beginUpload(*entry, ensureClientRecordingID(sessionID, *entry->fileURL));
}

/// \p entry is the one that was asked for; what changes in the list meanwhile is not sent.
void AppState::beginUpload(const RecentSession &entry, const QString &clientRecordingId)
{
    updateSession(entry.id, markProcessing);
    const UploadRequest request{
        .fileURL = *entry.fileURL,
        .title = entry.title,
        .durationSeconds = entry.durationSeconds,
        .startedAt = entry.startedAt,
        .clientRecordingId = clientRecordingId,
    };
    const auto run = [this, id = entry.id, request] { runDetached(upload(id, request)); };
    QMetaObject::invokeMethod(this, run, Qt::QueuedConnection);
}

QCoro::Task<> AppState::upload(QUuid sessionID, UploadRequest request)
{
    const QPointer self(this);
    const auto usedToken = token();
    if (!usedToken) {
        updateSession(sessionID, markSignedOut);
        co_return;
    }
    if (const auto refused = refusal(request.fileURL)) {
        handleFailedUpload(sessionID, *refused, *usedToken);
        co_return;
    }
    const auto uploaded = co_await m_uploader.upload(request, *usedToken);
    if (!self)
        co_return; // the application is closing
    if (!uploaded) {
        handleFailedUpload(sessionID, uploaded.error(), *usedToken);
        co_return;
    }
    updateSession(sessionID, [&uploaded](RecentSession &entry) {
        markReady(entry);
        entry.remoteID = uploaded->id;
    });
}

void AppState::handleFailedUpload(QUuid sessionID, const ServiceFailure &failure,
                                  const QString &token)
{
    const bool isRefused = failure.isUnauthorized();
    if (isRefused && m_auth)
        m_auth->handleUnauthorized(token);
    const QString reason = isRefused ? u"登录已过期"_s : failure.description();
    updateSession(sessionID, [&reason](RecentSession &entry) { markFailed(entry, reason); });
    if (isRefused)
        setLastError(u"登录已过期，请重新登录"_s);
}

QString AppState::ensureClientRecordingID(QUuid sessionID, const QUrl &fileURL)
{
    QString identifier = clientRecordingId(fileURL);
    updateSession(sessionID, [&identifier](RecentSession &entry) {
        if (entry.clientRecordingId)
            identifier = *entry.clientRecordingId; // also an empty one
        else
            entry.clientRecordingId = identifier;
    });
    return identifier;
}

std::optional<RecentSession> AppState::session(QUuid sessionID) const
{
    const auto found = std::ranges::find(recents(), sessionID, &RecentSession::id);
    return found == recents().cend() ? std::nullopt : std::optional(*found);
}

void AppState::updateSession(QUuid sessionID, const std::function<void(RecentSession &)> &change)
{
    const auto found = std::ranges::find(list(), sessionID, &RecentSession::id);
    if (found == list().end())
        return;
    change(*found);
    saveRecents();
    Q_EMIT recentsChanged();
}

QCoro::Task<> AppState::reconcileUploadedSessions()
{
    m_isReconcileWanted = true;
    if (m_reconciling) {
        const QFuture<void> running = m_reconciling->future();
        co_await running;
        co_return;
    }
    m_reconciling = std::make_unique<QPromise<void>>();
    m_reconciling->start();
    const QPointer self(this);
    while (self && std::exchange(m_isReconcileWanted, false))
        co_await reconcileOnce();
    if (!self)
        co_return; // which has ended the others' wait
    m_reconciling->finish();
    m_reconciling.reset();
}

QCoro::Task<> AppState::reconcileOnce()
{
    const QPointer self(this);
    co_await loaded();
    const auto usedToken = self ? token() : std::nullopt;
    if (!usedToken)
        co_return;
    const QStringList identifiers = identifiersToLookUp(recents());
    if (identifiers.isEmpty())
        co_return;
    const auto meetings = co_await m_uploader.reconcile(identifiers, *usedToken);
    if (!self)
        co_return; // the application is closing
    if (!meetings) {
        // A failure stays silent: the user did not ask for this, and the next reconcile tries
        // again.
        if (meetings.error().isUnauthorized() && m_auth)
            m_auth->handleUnauthorized(*usedToken);
        co_return;
    }
    const auto map = meetingByRecording(*meetings);
    bool isChanged = false;
    for (RecentSession &entry : list())
        isChanged = adoptMeeting(entry, map) || isChanged;
    if (!isChanged)
        co_return;
    Q_EMIT recentsChanged();
    if (self)
        co_await saveInBackground();
}
