#include "core/RecentsCoding.h"
#include "tests/support/Decoded.h"
#include "tests/support/Files.h"
#include "tests/support/SoakStage.h"
#include "tools/localservice/LocalService.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <malloc.h>
#include <signal.h>

#include <string_view>
#include <thread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Exchange = LocalService::Exchange;

namespace
{
constexpr bool isSanitized = !std::string_view(SANITIZERS).empty();

int setting(const char *name, int usual)
{
    bool isGiven = false;
    const int value = qEnvironmentVariableIntValue(name, &isGiven);
    return isGiven ? value : usual;
}

const QList<Exchange> exchanges{Exchange::objectUpload, Exchange::signUpload,
                                Exchange::createMeeting, Exchange::reconcile, Exchange::identity};

/// The last ones claim that something was stored.
const QStringList faults{u"close:0"_s,     u"close:20000"_s, u"delay:100"_s,
                         u"delay:10000"_s, u"garbage"_s,     u"lost"_s,
                         u"status:401"_s,  u"status:403"_s,  u"status:503"_s,
                         u"status:200"_s,  u"cut:5"_s,       u"oversized:9000000"_s};
constexpr int faultsOfHonestOnes = 9;

/// What the names of its files have in common.
QString nameOf(const SoakJournal::Recording &recording)
{
    const auto start = QDateTime::fromSecsSinceEpoch(recording.start);
    return start.toString(u"'recording-'yyyy-MM-dd-HH-mm-ss"_s);
}
} // namespace

/// Days of use in minutes. SOAK_RECORDINGS says how many recordings, SOAK_LONGEST how many seconds
/// the longest of them have, SOAK_SEED which day it is.
class SoakTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void killedAgainAndAgain();
    void growsNot();

private:
    int upTo(int most) { return std::uniform_int_distribution(1, most)(m_random); }
    QString path(const QString &name) const { return m_home->filePath(name); }
    void start(QProcess &process, const QString &what, int count);
    void finish(QProcess &process) const;
    void serve();
    void misbehave();
    void runAndPerhapsKill(QProcess &process);
    void settle();
    void verifyAll();
    void verifyRecording(const SoakJournal::Recording &recording);
    void verifyUploaded(const RecentSession &entry);
    void verifyFolders();

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<QFile> m_journalFile;
    SoakJournal *m_journal = nullptr;
    std::unique_ptr<LocalService> m_service;
    int m_port = 0;
    const int m_count = setting("SOAK_RECORDINGS", isSanitized ? 10 : 24);
    const int m_longest = setting("SOAK_LONGEST", isSanitized ? 10 : 20);
    const quint32 m_seed = quint32(setting("SOAK_SEED", int(std::random_device()() >> 1)));
    std::mt19937 m_random{m_seed};
    int m_kills = 0;
    int m_starts = 0;
    int m_faults = 0;
    QList<RecentSession> m_list; ///< that was left in the end
};

void SoakTest::init()
{
    qInfo("seed %u", m_seed);
    m_home = std::make_unique<QTemporaryDir>();
    m_journalFile = std::make_unique<QFile>(path(u"journal"_s));
    m_journal = &SoakJournal::in(*m_journalFile);
    m_port = m_kills = m_starts = m_faults = 0;
    serve();
    for (auto &token : m_journal->tokens)
        qstrcpy(token, qPrintable(m_service->store().signIn(u"a@example.com"_s)));
}

void SoakTest::serve()
{
    m_service.reset();
    m_service = std::make_unique<LocalService>(path(u"service"_s));
    QVERIFY(m_service->listen(m_port));
    m_port = m_service->origin().section(u':', 2).toInt();
}

void SoakTest::start(QProcess &process, const QString &what, int count)
{
    ++m_starts;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(),
                  {u"--"_s + what, m_home->path(), m_service->origin(), QString::number(count),
                   QString::number(m_longest), QString::number(m_random())});
    QVERIFY(process.waitForStarted());
}

void SoakTest::finish(QProcess &process) const
{
    process.waitForFinished(-1); // it watches itself
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
}

void SoakTest::misbehave()
{
    const Exchange exchange = exchanges.at(upTo(int(exchanges.size())) - 1);
    const bool mustBeHonest = exchange == Exchange::objectUpload;
    const QString &fault =
        faults.at(upTo(mustBeHonest ? faultsOfHonestOnes : int(faults.size())) - 1);
    m_service->misbehave(exchange, *Misbehaviour::parse(fault), upTo(2));
    ++m_faults;
    if (upTo(20) == 1)
        m_service->store().revoke(
            QLatin1String(m_journal->tokens[size_t(m_journal->signInCount + 254) % 255]));
}

/// Ends \p process at a moment of its own choice, or anywhere, or as soon as a recording is being
/// concluded.
void SoakTest::runAndPerhapsKill(QProcess &process)
{
    SoakJournal &journal = *m_journal;
    const bool awaitsConclusion = upTo(2) == 1;
    const qint64 end = journal.moves + upTo(8 * m_longest);
    qint64 lastFault = journal.moves;
    while (process.state() == QProcess::Running &&
           (journal.moves < end || (awaitsConclusion && !journal.isConcluding))) {
        process.waitForFinished(1);
        m_service->clearRequests();
        if (journal.moves > lastFault + 5) {
            misbehave();
            lastFault = journal.moves;
        }
    }
    std::this_thread::sleep_for(std::chrono::microseconds(upTo(awaitsConclusion ? 40'000 : 9'000)));
    if (process.state() == QProcess::Running && !process.waitForFinished(0)) {
        ::kill(static_cast<pid_t>(process.processId()), SIGKILL);
        ++m_kills;
        QVERIFY(process.waitForFinished());
    } else {
        finish(process);
    }
    journal.isConcluding = false;
}

void SoakTest::settle()
{
    serve();
    QProcess process;
    start(process, u"settle"_s, 0);
    finish(process);
    const JsonDefaults settings(path(u"settings.json"_s));
    const QString folder = settings.string(u"prefs.saveLocation"_s).value_or(QString());
    const auto list = decodeRecents(contentOf(folder + u"/.sessions.json"_s));
    QVERIFY(list);
    m_list = *list;
}

void SoakTest::killedAgainAndAgain()
{
    SoakJournal &journal = *m_journal;
    while (journal.recordingCount < m_count) {
        if (upTo(10) == 1)
            serve();
        QProcess process;
        start(process, u"live"_s, upTo(8));
        runAndPerhapsKill(process);
        if (QTest::currentTestFailed())
            return;
    }
    settle();
    if (!QTest::currentTestFailed())
        verifyAll();
}

void SoakTest::growsNot()
{
    SoakJournal &journal = *m_journal;
    QProcess process;
    start(process, u"grow"_s, m_count / 2);
    const qint64 step = 10;
    for (qint64 next = step; !process.waitForFinished(1);) {
        m_service->clearRequests();
        if (journal.moves > next) {
            misbehave();
            next = journal.moves + step;
        }
    }
    finish(process);
    const auto &bytes = journal.residentBytes;
    constexpr double mebibyte = 1024 * 1024;
    qInfo("after a third, and after all of it: %d and %d descriptors, %.1f and %.1f MiB",
          journal.descriptors[0].load(), journal.descriptors[1].load(), double(bytes[0]) / mebibyte,
          double(bytes[1]) / mebibyte);
    QCOMPARE(journal.descriptors[1].load(), journal.descriptors[0].load());
    QVERIFY(isSanitized || double(bytes[1] - bytes[0]) < 2 * mebibyte);
    settle();
    if (!QTest::currentTestFailed())
        verifyAll();
}

void SoakTest::verifyAll()
{
    const SoakJournal &journal = *m_journal;
    qint64 seconds = 0;
    for (int i = 0; i < journal.recordingCount; ++i) {
        const SoakJournal::Recording &recording = journal.recordings[size_t(i)];
        seconds += recording.countedSeconds;
        verifyRecording(recording);
        if (QTest::currentTestFailed()) {
            qInfo("recording %s: %d s of system, %d s of microphone, outcome %d",
                  qPrintable(nameOf(recording)), recording.systemSeconds.load(),
                  recording.micSeconds.load(), int(recording.outcome.load()));
            const QDir folder(path(u"sound"_s));
            for (const QFileInfo &file : folder.entryInfoList({nameOf(recording) + u"*"_s}))
                qInfo("%s: %lld bytes", qPrintable(file.fileName()), qlonglong(file.size()));
            return;
        }
    }
    for (const RecentSession &entry : m_list)
        verifyUploaded(entry);
    verifyFolders();
    qInfo("%d recordings with %.2f hours of sound in %.1f days, %lld of them kept; %d starts, %d "
          "kills, %d sign-ins, %d uploads begun by hand, %d faults of the service, %d of devices",
          journal.recordingCount.load(), double(seconds) / 3600,
          double(journal.wallSeconds - journal.recordings[0].start) / 86400,
          qlonglong(m_list.size()), m_starts, m_kills, journal.signInCount.load(),
          journal.uploadCount.load(), m_faults, journal.troubleCount.load());
}

/// Listed once, with all its sound apart from the last second and a half before a kill; or not at
/// all, where it was too short.
void SoakTest::verifyRecording(const SoakJournal::Recording &recording)
{
    QList<RecentSession> entries;
    std::ranges::copy_if(m_list, std::back_inserter(entries), [&](const RecentSession &entry) {
        return entry.fileURL->fileName().startsWith(nameOf(recording) + u'.');
    });
    const int seconds = std::max(recording.systemSeconds, recording.micSeconds);
    const bool isKilled = recording.outcome == SoakJournal::underWay;
    const bool isKept = recording.outcome == SoakJournal::kept;
    const int least = isKept || (isKilled && seconds >= 12) ? 1 : 0;
    const int most = isKept || (isKilled && seconds >= 9) ? 1 : 0;
    QVERIFY(entries.size() >= least && entries.size() <= most);
    if (entries.isEmpty())
        return;
    QVERIFY(isKilled || entries.first().durationSeconds == recording.countedSeconds);

    const auto decoded = decodeFile(entries.first().fileURL->toLocalFile());
    QVERIFY(decoded);
    QCOMPARE(decoded->errorCount, 0);
    QVERIFY(!decoded->fragmented);
    const qint64 rate = decoded->sampleRate;
    const qint64 missing = seconds * rate - decoded->frameCount();
    QVERIFY(isKilled ? missing >= -rate && missing <= rate * 3 / 2 : missing == 0);
    const auto start = decoded->channel(0, rate / 4, rate / 2);
    QVERIFY(recording.systemSeconds < 4 || toneLevel(start, 440, int(rate)) > 0.2);
    QVERIFY(recording.micSeconds < 4 || toneLevel(start, 1000, int(rate)) > 0.2);
}

void SoakTest::verifyUploaded(const RecentSession &entry)
{
    QVERIFY2(entry.isUploaded(), qPrintable(entry.uploadProgress.value_or(u"-"_s)));
    const auto meeting = m_service->store().meeting(*entry.remoteID);
    QVERIFY(meeting);
    QCOMPARE((*meeting)[u"clientRecordingId"_s].toString(), *entry.clientRecordingId);
    const QString object = (*meeting)[u"audioUrl"_s].toString().section(u'/', -1);
    const QString path = entry.fileURL->toLocalFile();
    QVERIFY(QFileInfo(path).size() > 0);
    QVERIFY(contentOf(m_service->store().objectPath(object)) == contentOf(path));
}

/// Nothing is there but what is listed, lists, tracks without any sound, and recordings that were
/// too short and about to go when a kill came: once finished they may be anybody's.
void SoakTest::verifyFolders()
{
    QSet<QString> listed;
    for (const RecentSession &entry : m_list)
        listed.insert(entry.fileURL->toLocalFile());
    QCOMPARE(listed.size(), m_list.size());
    QDirIterator files(m_home->path(), {u"*.m4a*"_s}, QDir::Files | QDir::Hidden,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = files.next();
        if (listed.contains(file) || file.startsWith(path(u"service"_s)) ||
            files.fileInfo().size() <= 1024)
            continue;
        const auto decoded = decodeFile(file);
        QVERIFY2(decoded && !decoded->fragmented &&
                     decoded->frameCount() < 10LL * decoded->sampleRate,
                 qPrintable(file));
    }
}

/// The process that is killed.
int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 7) {
        qputenv("QTEST_FUNCTION_TIMEOUT", "86400000"); // the processes watch themselves
        SoakTest test;
        return QTest::qExec(&test, argc, argv);
    }
    mallopt(M_MMAP_THRESHOLD,
            128 * 1024); // not adapted to the largest reply: what is free is given back
    Logger::redirect([](const char *, Logger::Level, const QString &) {});
    const QString &home = arguments[2];
    QFile journal(home + u"/journal"_s);
    SoakStage stage(home, arguments[3], SoakJournal::in(journal), arguments[6].toUInt());
    const int count = arguments[4].toInt();
    const int longest = arguments[5].toInt();
    if (arguments[1] == u"--settle"_s) {
        stage.settle();
    } else if (arguments[1] == u"--grow"_s) {
        stage.live(count / 3, longest);
        stage.measure(0);
        stage.live(count - count / 3, longest);
        stage.measure(1);
    } else {
        stage.live(count, longest);
        stage.record(longest);
    }
    stage.quit();
    return 0;
}
#include "test_soak.moc"
