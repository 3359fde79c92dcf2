// How long the main thread is busy at a time while a list of ten thousand recordings is reconciled
// with a service that holds them all. Argument: a folder on the disk to measure (default: the
// temporary folder).

#include "cloud/AuthClient.h"
#include "core/AppState.h"
#include "core/RecentsFile.h"
#include "platform/SecretStore.h"
#include "platform/linux/desktop/AutostartEntry.h"
#include "platform/linux/desktop/JsonDefaults.h"
#include "platform/linux/desktop/SystemClock.h"
#include "platform/linux/desktop/SystemVolume.h"
#include "platform/linux/media/LiveTrack.h"
#include "platform/linux/media/TrackWriter.h"
#include "platform/linux/mix/FileAudioAssets.h"
#include "platform/linux/network/CurlHttpSession.h"
#include "platform/linux/pipewire/PipeWireCaptureService.h"
#include "platform/linux/pipewire/PipeWireMicrophones.h"
#include "settings/PrefsStore.h"
#include "tests/support/FakeWorkspace.h"
#include "tools/localservice/LocalService.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTimer>

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <tuple>

using namespace Qt::StringLiterals;

namespace
{
constexpr int entryCount = 10'000;
constexpr int runCount = 11;

double processorMilliseconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// Measures the turns of the main loop: from the first event after a sleep to the next sleep.
class TurnMeter : public QCoreApplication
{
public:
    /// Of one turn, in milliseconds. On a busy machine only the second says something about us.
    struct Longest {
        double wall = 0.0;
        double processor = 0.0;
    };

    TurnMeter(int &argc, char **argv)
        : QCoreApplication(argc, argv)
    {
        connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
                &TurnMeter::endTurn);
    }

    bool notify(QObject *receiver, QEvent *event) override
    {
        if (!m_turn.isValid())
            startTurn();
        return QCoreApplication::notify(receiver, event);
    }

    /// Leaves out what came before, also of the turn that is running.
    void restart()
    {
        m_longest = {};
        startTurn();
    }

    const Longest &longest() const { return m_longest; }

private:
    void startTurn()
    {
        m_turn.start();
        m_processorAtStart = processorMilliseconds();
    }

    void endTurn()
    {
        if (!m_turn.isValid())
            return;
        const double wall = static_cast<double>(m_turn.nsecsElapsed()) / 1e6;
        m_longest.wall = std::max(m_longest.wall, wall);
        m_longest.processor =
            std::max(m_longest.processor, processorMilliseconds() - m_processorAtStart);
        m_turn.invalidate();
    }

    QElapsedTimer m_turn;
    double m_processorAtStart = 0.0;
    Longest m_longest;
};

/// One session for the whole life of the process.
class OneSecret : public SecretStore
{
public:
    explicit OneSecret(QString value)
        : m_value(std::move(value))
    {
    }
    void add(const QString &, const QString &, const QString &) override {}
    std::optional<QString> find(const QString &, const QString &account) override
    {
        return account == u"session" ? std::optional(m_value) : std::nullopt;
    }
    void remove(const QString &, const QString &) override {}

private:
    QString m_value;
};

QList<RecentSession> manySessions(const QDateTime &now)
{
    QList<RecentSession> sessions;
    for (int i = 0; i < entryCount; ++i) {
        const QString name = u"recording-%1"_s.arg(i, 8, 10, QLatin1Char('0'));
        sessions.append(RecentSession{
            .title = u"周会：第 %1 次讨论"_s.arg(i),
            .duration = u"1h 2m"_s,
            .durationSeconds = 3720 + i,
            .when = u"昨天"_s,
            .startedAt = now.addSecs(-i * 3600LL),
            .status = RecentSession::Status::failed,
            .fileURL = QUrl::fromLocalFile(u"/home/user/文档/Parlovance/%1.m4a"_s.arg(name)),
            .uploadProgress = u"未登录"_s,
            .clientRecordingId = u"mac-file-"_s + name,
        });
    }
    return sessions;
}

QByteArray replyFor(const QList<RecentSession> &sessions)
{
    QJsonArray meetings;
    for (const RecentSession &session : sessions) {
        meetings.append(QJsonObject{{u"id"_s, session.id.toString(QUuid::WithoutBraces)},
                                    {u"clientRecordingId"_s, *session.clientRecordingId}});
    }
    return QJsonDocument(QJsonObject{{u"meetings"_s, meetings}}).toJson(QJsonDocument::Compact);
}

/// Longest turn while the list is reconciled, and until that has reached the disk.
TurnMeter::Longest longestTurn(TurnMeter &meter, AppState &appState, AuthClient &auth)
{
    QEventLoop loop;
    const auto wait = [&loop] {
        QTimer::singleShot(std::chrono::milliseconds(500), &loop, &QEventLoop::quit);
    };
    QObject::connect(&appState, &AppState::recentsChanged, &loop, wait);
    QMetaObject::invokeMethod(&loop, [&meter] { meter.restart(); }, Qt::QueuedConnection);
    appState.setAuth(&auth);
    loop.exec();
    return meter.longest();
}
} // namespace

int main(int argc, char **argv)
{
    // The other dispatcher does not tell when it goes to sleep.
    qputenv("QT_NO_GLIB", "1");
    TurnMeter application(argc, argv);
    const QString parent = argc > 1 ? QFile::decodeName(argv[1]) : QDir::tempPath();
    const QTemporaryDir folder(QDir(parent).filePath(u"reconcile-XXXXXX"_s));

    SystemClock clock;
    SystemVolume volume;
    LiveTracks liveTracks;
    TrackWriterFactory writers(liveTracks);
    FileAudioAssets assets(liveTracks);
    TrackOrigin trackOrigin;
    PipeWireServer server;
    PipeWireCaptureService captureService(server, trackOrigin);
    PipeWireMicrophones microphones(server, trackOrigin, writers);
    const AudioPlatform platform{captureService, microphones, writers, assets, volume, clock, {}};

    JsonDefaults defaults(folder.filePath(u"settings.json"_s));
    AutostartEntry loginItem(folder.filePath(u"autostart.desktop"_s), {});
    PrefsStore prefs(defaults, loginItem, folder.path());
    prefs.setSaveLocation(folder.path());

    LocalService service(folder.filePath(u"service"_s));
    if (!folder.isValid() || !service.listen())
        qFatal("no folder or no service");
    HttpSettings settings;
    settings.loopbackHttp = WebAddress::LoopbackHttp::allowed;
    CurlHttpSession http(settings);
    const auto origin = ServiceOrigin::parse(service.origin());
    OneSecret secrets(encoded(AuthSession{.token = service.store().signIn(u"a@example.com"_s)}));
    FakeWorkspace workspace;
    AuthClient auth(origin, http, secrets, workspace);

    const auto sessions = manySessions(clock.now());
    service.misbehave(LocalService::Exchange::reconcile,
                      Misbehaviour::answered(200, replyFor(sessions)));
    std::printf("%d entries; the longest turn of the main loop in each of %d runs, ms (of it on "
                "the processor):",
                entryCount, runCount);
    std::fflush(stdout);
    for (int run = 0; run < runCount; ++run) {
        RecentsFile file(clock);
        std::ignore = file.load(folder.path());
        std::ignore = file.save(folder.path(), sessions);
        AppState appState(platform, MediaUploader(origin, http), prefs);
        const auto turn = longestTurn(application, appState, auth);
        if (!std::ranges::all_of(file.load(folder.path()), &RecentSession::isUploaded))
            qFatal("not reconciled");
        std::printf(" %.1f (%.1f)", turn.wall, turn.processor);
    }
    std::printf("\n");
}
