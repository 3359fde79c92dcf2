#include "tests/support/SoakStage.h"

#include "base/Tasks.h"
#include "tests/support/Decoded.h"

#include <QDir>
#include <QTest>
#include <QThreadPool>

#include <malloc.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
constexpr int sampleRate = 48000;

const QStringList troublesAtStart{u"capture targets"_s, u"capture deliver"_s, u"capture start"_s,
                                  u"mic access"_s,      u"mic create"_s,      u"mic prepare"_s,
                                  u"mic record"_s};

AudioBuffer secondOfSound(std::span<const float> samples, int channelCount, int second)
{
    return {.samples = samples.first(size_t(channelCount) * sampleRate),
            .channelCount = channelCount,
            .sampleRate = sampleRate,
            .presentationTime = std::chrono::seconds(second)};
}

HttpSettings httpSettings()
{
    HttpSettings settings;
    settings.idleLimit = 1s;
    settings.loopbackHttp = WebAddress::LoopbackHttp::allowed;
    return settings;
}

QString secretKey()
{
    return FakeSecretStore::key(u"com.parlovance.mac"_s, u"session"_s);
}
} // namespace

SoakStage::SoakStage(const QString &home, const QString &origin, SoakJournal &journal, quint32 seed)
    : m_home(home)
    , m_journal(journal)
    , m_random(seed)
    , m_defaults(home + u"/settings.json"_s)
    , m_prefs(m_defaults, m_loginItem, home)
    , m_realHttp(httpSettings())
{
    m_microphones.writers = &m_writers;
    if (m_journal.wallSeconds == 0)
        m_journal.wallSeconds = m_clock.wall.toSecsSinceEpoch();
    passTime(1);
    m_prefs.setSaveLocation(home + u"/sound"_s);
    QFile secret(home + u"/secret"_s);
    if (secret.open(QIODevice::ReadOnly))
        m_secrets.items.emplace(secretKey(), QString::fromUtf8(secret.readAll()));

    const auto configured = ServiceOrigin::parse(origin);
    const AudioPlatform platform{m_capture,
                                 m_microphones,
                                 m_writers,
                                 m_assets,
                                 m_volume,
                                 m_clock,
                                 home + u"/recordings.json"_s};
    m_app.emplace(platform, MediaUploader(configured, m_http), m_prefs, 1ms);
    m_auth.emplace(configured, m_http, m_secrets, m_workspace);
    QObject::connect(&*m_auth, &AuthClient::changed, &*m_app, [this] { keepSecrets(); });
    QObject::connect(&*m_app, &AppState::elapsedChanged, &*m_app, [this] { tick(); });
    QObject::connect(&*m_app, &AppState::stateChanged, &*m_app, [this] { followState(); });
    QObject::connect(&*m_app, &AppState::recentsChanged, &*m_app, [this] { ++m_journal.moves; });
    m_app->setAuth(&*m_auth);
    runDetached(recover());
}

QCoro::Task<> SoakStage::recover()
{
    co_await m_app->recoverRecordings();
    m_hasRecovered = true;
}

void SoakStage::waitUntil(const std::function<bool()> &condition) const
{
    if (!QTest::qWaitFor(condition, 90'000))
        qFatal("waited in vain, in state %d", static_cast<int>(m_app->state()));
}

void SoakStage::keepSecrets() const
{
    QFile secret(m_home + u"/secret"_s);
    const auto found = m_secrets.items.find(secretKey());
    if (secret.open(QIODevice::WriteOnly) && found != m_secrets.items.end())
        secret.write(found->second.toUtf8());
}

void SoakStage::passTime(int seconds)
{
    m_journal.wallSeconds += seconds;
    m_clock.wall = QDateTime::fromSecsSinceEpoch(m_journal.wallSeconds);
    m_clock.media += seconds;
    ++m_journal.moves;
}

/// What both sources have to say in a second.
void SoakStage::tick()
{
    if (m_app->elapsed() < 1.0)
        return; // it is just starting
    static const auto music = sine(440, 0.3, sampleRate, 2);
    static const auto voice = sine(1000, 0.3, sampleRate, 1);
    static const std::vector<float> silence(2 * sampleRate); // ten times quicker to encode
    SoakJournal::Recording &recording = *m_recording;
    passTime(1);
    const int second = recording.countedSeconds;
    const bool isHeard = second % 20 == 0;
    const auto playSystem = [this, second, isHeard, &recording] {
        if (!m_capture.listener)
            return;
        m_capture.listener->didCapture(secondOfSound(isHeard ? music : silence, 2, second));
        recording.systemSeconds = second + 1;
    };
    auto played = inBackground(playSystem);
    if (m_microphones.writer &&
        m_microphones.writer->append(secondOfSound(isHeard ? voice : silence, 1, second)))
        recording.micSeconds = second + 1;
    played.waitForFinished();
    recording.countedSeconds = second + 1;
}

void SoakStage::followState()
{
    ++m_journal.moves;
    m_journal.isConcluding = m_app->state() == RecordingState::stopping;
    if (m_app->state() != RecordingState::idle || !m_recording)
        return;
    SoakJournal::Recording &ended = *std::exchange(m_recording, nullptr);
    if (ended.countedSeconds == 0)
        ended.outcome = SoakJournal::notStarted;
    else
        ended.outcome = ended.countedSeconds < 10 ? SoakJournal::dropped : SoakJournal::kept;
}

/// While something is recorded.
void SoakStage::troubleDevices()
{
    ++m_journal.troubleCount;
    const int trouble = upTo(5);
    if (trouble == 1)
        m_volume.available = 1000;
    if (trouble == 2)
        ++m_capture.outputs.first().id;
    if (trouble == 3 && m_capture.listener)
        std::exchange(m_capture.listener, nullptr)->didStop(Error(u"gone"_s));
    if (trouble < 4 || !m_microphones.writer)
        return;
    using enum MicrophoneEvent::Kind;
    for (const auto kind : trouble == 4 ? QList{interrupted, resumed} : QList{ended})
        m_microphones.handler({kind, u"microphone"_s});
    if (trouble == 5)
        m_microphones.writer = nullptr;
}

void SoakStage::record(int seconds)
{
    const int sources = upTo(4); // both is the usual
    m_app->setSystemAudioOn(sources != 1);
    m_app->setMicOn(sources != 2);
    m_app->setSessionTitle(happens(50) ? u"周会"_s : QString());
    const QString trouble =
        happens(10) ? troublesAtStart.at(upTo(int(troublesAtStart.size())) - 1) : QString();
    m_script.failAt(trouble);
    m_volume.available.reset();
    if (happens(3))
        m_volume.available = 1000;
    if (!trouble.isEmpty() || m_volume.available)
        ++m_journal.troubleCount;

    passTime(upTo(3600));
    m_recording = &m_journal.recordings.at(size_t(m_journal.recordingCount));
    m_recording->start = m_journal.wallSeconds.load();
    ++m_journal.recordingCount;
    m_app->toggleRecording();
    waitUntil([this] { return m_app->state() != RecordingState::starting; });
    m_script.succeedAt(trouble);

    const auto recordUntil = [this](int second) {
        waitUntil([this, second] {
            return m_app->state() != RecordingState::recording || m_app->elapsed() >= second;
        });
    };
    if (happens(25)) {
        recordUntil(upTo(seconds));
        if (m_app->state() == RecordingState::recording)
            troubleDevices();
    }
    recordUntil(seconds);
}

void SoakStage::signIn()
{
    const auto number = size_t(m_journal.signInCount++) % (m_journal.tokens.size() - 1);
    m_auth->beginLogin();
    m_auth->handleCallback(u"parlovance://auth?token=%1&state=%2"_s.arg(
        QLatin1String(m_journal.tokens[number]), m_workspace.opened.last().section(u'=', 1)));
    runDetached(m_app->reconcileUploadedSessions());
}

void SoakStage::useCloud()
{
    const auto &recents = m_app->recents();
    const auto anyEntry = [&] { return recents.at(upTo(int(recents.size())) - 1); };
    m_prefs.setUploadStrategy(happens(70) ? UploadStrategy::immediate : UploadStrategy::manual);
    m_prefs.setAudioQuality(happens(50) ? AudioQuality::standard : AudioQuality::high);
    if (!m_auth->isLoggedIn() && happens(60))
        signIn();
    else if (happens(10))
        m_auth->logout();
    for (int i = recents.isEmpty() ? 0 : upTo(4); i > 0; --i) {
        const RecentSession entry = anyEntry();
        m_journal.uploadCount += entry.isUploaded() ? 0 : 1;
        if (happens(50))
            m_app->startUpload(entry.id);
        else if (!entry.isUploaded() || happens(10))
            m_app->retryUpload(entry.id);
    }
    if (happens(20))
        runDetached(m_app->reconcileUploadedSessions());
    if (happens(50))
        rest();
}

void SoakStage::live(int count, int longest)
{
    while (count-- > 0) {
        m_script.calls.clear();
        m_http.restart();
        useCloud();
        record(happens(20) ? upTo(9) : 9 + upTo(longest));
        if (m_app->state() == RecordingState::recording)
            m_app->toggleRecording();
        waitUntil([this] { return m_app->state() == RecordingState::idle; });
    }
}

void SoakStage::quit()
{
    runDetached(leave());
    waitUntil([this] { return m_hasLeft; });
}

QCoro::Task<> SoakStage::leave()
{
    co_await m_app->finishForQuit();
    m_hasLeft = true;
}

void SoakStage::rest() const
{
    waitUntil([this] {
        return !m_http.isBusy() && m_app->state() == RecordingState::idle &&
               std::ranges::none_of(m_app->recents(), [](const RecentSession &entry) {
                   return entry.status == RecentSession::Status::processing;
               });
    });
}

void SoakStage::settle()
{
    waitUntil([this] { return m_hasRecovered; });
    quit();
    for (int round = 0; round < 5; ++round) {
        signIn();
        rest();
        for (const RecentSession &entry : m_app->recents()) {
            if (!entry.isUploaded()) {
                m_app->startUpload(entry.id);
                rest();
            }
        }
    }
}

void SoakStage::measure(size_t number)
{
    rest();
    QThreadPool::globalInstance()->waitForDone();
    malloc_trim(0);
    QFile statm(u"/proc/self/statm"_s);
    if (!statm.open(QIODevice::ReadOnly))
        qFatal("no figures");
    m_journal.residentBytes.at(number) =
        statm.readAll().split(' ').at(1).toLongLong() * getpagesize();
    statm.close();
    const QDir descriptors(u"/proc/self/fd"_s);
    m_journal.descriptors.at(number) =
        int(descriptors.entryList(QDir::System | QDir::Files).size());
}
