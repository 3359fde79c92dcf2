#pragma once

#include "cloud/AuthClient.h"
#include "core/AppState.h"
#include "core/RecentsCoding.h"
#include "platform/linux/network/CurlHttpSession.h"
#include "tests/support/AppRig.h"
#include "tests/support/FakeSecretStore.h"
#include "tests/support/FakeWorkspace.h"
#include "tests/support/GatedHttpSession.h"
#include "tools/localservice/LocalService.h"

#include <QTest>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>

/// What the list shows for an entry, as UploadStage::shown() gives it.
namespace Shown
{
inline const auto waiting = QStringLiteral("ready | - | -");
inline const auto uploading = QStringLiteral("processing | 上传中 | -");
inline const auto signedOut = QStringLiteral("failed | 未登录 | -");
inline const auto expired = QStringLiteral("failed | 登录已过期 | -");
inline QString uploaded(const QString &meeting)
{
    return QStringLiteral("ready | - | ") + meeting;
}
} // namespace Shown

/// The answers to one upload, in their order.
inline const QStringList wholeChain{QStringLiteral("reconcile 1"), QStringLiteral("sign 1"),
                                    QStringLiteral("put 1"), QStringLiteral("create 1")};

/// The application's state, signed in, with a web service at the other end of a loopback socket.
/// Where a helper waits in vain the test ends at once.
class UploadStage : public AppRig
{
public:
    UploadStage()
    {
        serve();
        token = service->store().signIn(QStringLiteral("a@example.com"));
        origin = service->origin();
    }

    /// Starts the service, for the second time at the same place.
    void serve()
    {
        const int port = origin.section(u':', 2).toInt();
        service = std::make_unique<LocalService>(serviceFolder.path());
        if (!service->listen(port))
            qFatal("no service");
    }

    /// A recording of 75 seconds, with \p sizeBytes of its own in a file, that is not uploaded.
    RecentSession recording(const QString &name, qsizetype sizeBytes = 5000) const
    {
        QFile file(rig.path(name + QStringLiteral(".m4a")));
        const QByteArray content = name.toUtf8().repeated(sizeBytes / name.size());
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write into the test's folder");
        RecentSession entry = AppRig::entry(QStringLiteral("周会 ") + name);
        entry.fileURL = QUrl::fromLocalFile(file.fileName());
        entry.clientRecordingId = QStringLiteral("mac-file-") + name;
        return entry;
    }

    /// Starts with this list. Returns when the session was validated and the first reconcile is
    /// over; both are forgotten then.
    void start(const QList<RecentSession> &entries = {}, bool isSignedIn = true)
    {
        RecentsFile file(rig.clock);
        if (!file.save(rig.home.path(), entries))
            qFatal("cannot write the list");
        if (isSignedIn) {
            secrets.add(QStringLiteral("com.parlovance.mac"), QStringLiteral("session"),
                        encoded(AuthSession{.token = token}));
        }
        http.restart();
        const auto configured = ServiceOrigin::parse(origin);
        app.emplace(rig.platform(), MediaUploader(configured, http), prefs,
                    std::chrono::milliseconds(1));
        auth.emplace(configured, http, secrets, workspace);
        app->setAuth(&*auth);
        const bool hasUnknown = !std::ranges::all_of(entries, &RecentSession::isUploaded);
        const qsizetype exchanges = hasUnknown ? 2 : 1;
        const qsizetype awaited = isSignedIn ? exchanges : 0;
        waitUntil([&] { return script.calls.size() == awaited && !http.isBusy(); });
        http.restart();
        service->clearRequests();
    }

    /// Signs in anew, with a token that the service gives out.
    void signIn()
    {
        token = service->store().signIn(QStringLiteral("a@example.com"));
        auth->beginLogin();
        auth->handleCallback(QStringLiteral("parlovance://auth?token=") + token +
                             QStringLiteral("&state=") + workspace.opened.last().section(u'=', 1));
    }

    void waitUntil(const std::function<bool()> &condition) const
    {
        if (!QTest::qWaitFor(condition, 30'000))
            qFatal("waited in vain; the list shows %s; answered: %s",
                   qPrintable(shown().join(u", ")), qPrintable(script.calls.join(u", ")));
    }

    /// Until the answer to a request is here, but not handed on.
    void waitAt(const QString &step)
    {
        waitUntil([&] { return script.isWaitingAt(step); });
    }

    /// Starts the upload of the first entry, which stays at \p step.
    void uploadUpTo(const QString &step)
    {
        script.holdAt(step);
        app->startUpload(id());
        waitAt(step);
    }

    void waitUntilIdle() const
    {
        waitUntil([&] {
            return !http.isBusy() &&
                   std::ranges::none_of(app->recents(), [](const RecentSession &entry) {
                       return entry.status == RecentSession::Status::processing;
                   });
        });
    }

    /// "status | status line | meeting" of every entry.
    QStringList shown() const
    {
        const auto none = QStringLiteral("-");
        QStringList list;
        for (const RecentSession &entry : app->recents()) {
            list.append(rawValue(entry.status) + QStringLiteral(" | ") +
                        entry.uploadProgress.value_or(none) + QStringLiteral(" | ") +
                        entry.remoteID.value_or(none));
        }
        return list;
    }

    /// As it stands on the disk.
    std::optional<QList<RecentSession>> storedList() const
    {
        QFile file(rig.path(QStringLiteral(".sessions.json")));
        if (!file.open(QIODevice::ReadOnly))
            return std::nullopt;
        return decodeRecents(file.readAll());
    }

    const QUuid &id(qsizetype position = 0) const { return app->recents().at(position).id; }

    /// Of the meeting that the service made of a recording; "-" for none, or more than one.
    QString meetingOf(const QString &clientRecordingId) const
    {
        QStringList ids;
        for (const auto &meeting : service->store().meetings()) {
            if (meeting[QLatin1String("clientRecordingId")] == clientRecordingId)
                ids.append(meeting[QLatin1String("id")].toString());
        }
        return ids.size() == 1 ? ids.first() : QStringLiteral("-");
    }

    /// What the service stored for a meeting.
    QByteArray objectOf(const QString &meetingId) const
    {
        const auto meeting = service->store().meeting(meetingId).value_or(QJsonObject());
        const QString address = meeting[QLatin1String("audioUrl")].toString();
        const QString path = service->store().objectPath(address.section(u'/', -1));
        QFile object(path);
        return !path.isEmpty() && object.open(QIODevice::ReadOnly) ? object.readAll()
                                                                   : QByteArray();
    }

    QTemporaryDir serviceFolder;
    std::unique_ptr<LocalService> service;
    QString origin;
    QString token;
    Script script;
    CurlHttpSession realHttp{settings()};
    GatedHttpSession http{realHttp, script};
    FakeSecretStore secrets;
    FakeWorkspace workspace;
    std::optional<AuthClient> auth;
    std::optional<AppState> app;

private:
    static HttpSettings settings()
    {
        HttpSettings settings;
        settings.idleLimit = std::chrono::seconds(1);
        settings.loopbackHttp = WebAddress::LoopbackHttp::allowed;
        return settings;
    }
};
