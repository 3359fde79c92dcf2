#include "core/RecentsCoding.h"
#include "core/RecentsFile.h"
#include "tests/support/FakeClock.h"
#include "tests/support/Files.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <QTimeZone>
#include <filesystem>

#include <sys/stat.h>

#include <cstdio>
#include <functional>
#include <limits>

using namespace Qt::StringLiterals;

namespace
{
// The reference date of the file is 2001-01-01 00:00:00 UTC; 757382400 s later is New Year 2025.
const QByteArray entry = R"({"id":"0f8fad5b-D9CB-469f-a165-70867728950e","title":"周会 \/ 1",)"
                         R"("duration":"1h 2m","durationSeconds":3720,"when":"刚刚",)"
                         R"("startedAt":757382400.25,"status":"ready"})";

QByteArray withMember(const QByteArray &key, const QByteArray &value)
{
    QByteArray changed = entry;
    const auto start = changed.indexOf("\"" + key + "\":");
    if (start < 0)
        return changed.chopped(1) + ",\"" + key + "\":" + value + "}";
    auto end = changed.indexOf(",\"", start);
    end = end < 0 ? changed.size() - 1 : end;
    return changed.replace(start, end - start, "\"" + key + "\":" + value);
}

QByteArray withoutMember(const QByteArray &key)
{
    auto object = QJsonDocument::fromJson(entry).object();
    object.remove(QString::fromLatin1(key));
    return QJsonDocument(object).toJson();
}

void putDated(const QString &path, qint64 sizeBytes, const QDateTime &date)
{
    put(path, {});
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite) && file.resize(sizeBytes));
    QVERIFY(file.setFileTime(date, QFileDevice::FileModificationTime));
}

/// A save folder with its list, and the time 2025-01-02 03:00 in UTC.
struct Story {
    QTemporaryDir directory;
    QString folder = directory.filePath(u"录音 1"_s);
    QString path = folder + u"/.sessions.json"_s;
    FakeClock clock;

    Story()
    {
        clock.wall = QDateTime(QDate(2025, 1, 2), QTime(3, 0), QTimeZone::utc()).toLocalTime();
        QDir().mkpath(folder);
    }

    QList<RecentSession> load() const { return RecentsFile(clock).load(folder); }

    QStringList names() const
    {
        return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                      QDir::NoDotAndDotDot);
    }
};

QStringList titles(const QList<RecentSession> &sessions)
{
    QStringList result;
    for (const RecentSession &session : sessions)
        result.append(session.title);
    return result;
}

RecentSession minimalSession()
{
    return RecentSession{.title = u"t"_s,
                         .duration = u"0s"_s,
                         .when = u"刚刚"_s,
                         .startedAt = QDateTime::fromMSecsSinceEpoch(1'735'689'600'250).toUTC()};
}
} // namespace

class RecentsFileTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyFieldComesBack()
    {
        RecentSession full = minimalSession();
        full.durationSeconds = std::numeric_limits<qint64>::max();
        full.status = RecentSession::Status::failed;
        full.fileURL = QUrl::fromLocalFile(u"/录 音/rec 1%#?中文.m4a"_s);
        full.uploadProgress = u"\"\\/\b\f\n\r\t\u007f\u2028😀"_s + QChar(0);
        full.remoteID = u""_s;
        full.clientRecordingId = u"mac-file-x"_s;
        RecentSession processing = minimalSession();
        processing.status = RecentSession::Status::processing;
        processing.startedAt =
            QDateTime(QDate(1999, 12, 31), QTime(23, 59, 59, 999), QTimeZone::utc());
        const QList list{full, minimalSession(), processing};
        const auto back = decodeRecents(encodeRecents(list));
        QVERIFY(back.has_value());
        QCOMPARE(*back, list);
        QCOMPARE(decodeRecents(encodeRecents({})), QList<RecentSession>());
    }

    void theFormatIsTheAgreedOne()
    {
        RecentSession session = minimalSession();
        session.id = QUuid(u"{0f8fad5b-d9cb-469f-a165-70867728950e}"_s);
        session.fileURL = QUrl::fromLocalFile(u"/a b/中%41#?.m4a"_s);
        const auto written = QJsonDocument::fromJson(encodeRecents({session, minimalSession()}));
        const QJsonObject expected{
            {u"id"_s, u"0F8FAD5B-D9CB-469F-A165-70867728950E"_s},
            {u"title"_s, u"t"_s},
            {u"duration"_s, u"0s"_s},
            {u"durationSeconds"_s, 0},
            {u"when"_s, u"刚刚"_s},
            {u"startedAt"_s, 757382400.25},
            {u"status"_s, u"ready"_s},
            {u"fileURL"_s, u"file:///a%20b/%E4%B8%AD%2541%23%3F.m4a"_s},
        };
        QCOMPARE(written.array().at(0).toObject(), expected);
        QCOMPARE(written.array().at(1).toObject().keys(),
                 QStringList({u"duration"_s, u"durationSeconds"_s, u"id"_s, u"startedAt"_s,
                              u"status"_s, u"title"_s, u"when"_s}));
    }

    void onlyWholeListsAreRead_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("count");
        const auto row = [](const char *name, const QByteArray &content, int count) {
            QTest::addRow("%s", name) << content << count;
        };
        const auto list = [](const QByteArray &member) { return "[" + member + "]"; };
        row("one", list(entry), 1);
        row("none", "[]", 0);
        row("white space", " [\n" + entry + " ,\t" + entry + "\r\n] ", 2);
        row("byte order mark", "\xef\xbb\xbf" + list(entry), 1);
        row("unknown member", list(withMember("later", "{\"a\":[1]}")), 1);
        row("null for an optional member", list(withMember("remoteID", "null")), 1);
        row("number as 3.72e3", list(withMember("durationSeconds", "3.72e3")), 1);
        row("number with zeros", list(withMember("durationSeconds", "3720.000")), 1);
        row("negative", list(withMember("durationSeconds", "-9223372036854775808")), 1);
        row("whole second", list(withMember("startedAt", "757382400")), 1);
        row("far future", list(withMember("startedAt", "1e300")), 1);
        row("escaped solidus", list(withMember("fileURL", R"("file:\/\/\/a.m4a")")), 1);
        for (const char *key :
             {"id", "title", "duration", "durationSeconds", "when", "startedAt", "status"}) {
            QTest::addRow("no %s", key) << list(withoutMember(key)) << -1;
            QTest::addRow("null %s", key) << list(withMember(key, "null")) << -1;
            QTest::addRow("wrong type of %s", key) << list(withMember(key, "true")) << -1;
        }
        for (const char *key : {"fileURL", "uploadProgress", "remoteID", "clientRecordingId"})
            QTest::addRow("wrong type of %s", key) << list(withMember(key, "1")) << -1;
        row("text for a number", list(withMember("startedAt", "\"757382400\"")), -1);
        row("fraction of a second", list(withMember("durationSeconds", "3720.5")), -1);
        row("beyond 64 bits", list(withMember("durationSeconds", "9223372036854775808")), -1);
        row("unknown status", list(withMember("status", "\"done\"")), -1);
        row("upper-case status", list(withMember("status", "\"READY\"")), -1);
        row("braces around the id",
            list(withMember("id", "\"{0f8fad5b-d9cb-469f-a165-70867728950e}\"")), -1);
        row("id too long", list(withMember("id", "\"0f8fad5b-d9cb-469f-a165-70867728950e0\"")), -1);
        row("id without hyphens", list(withMember("id", "\"0f8fad5bd9cb469fa16570867728950e\"")),
            -1);
        row("no hexadecimal id", list(withMember("id", "\"0f8fad5b-d9cb-469f-a165-70867728950g\"")),
            -1);
        row("address of a web page", list(withMember("fileURL", "\"https://a/b.m4a\"")), -1);
        row("path without a scheme", list(withMember("fileURL", "\"/a/b.m4a\"")), -1);
        row("address with NUL", list(withMember("fileURL", "\"file:///b%00.m4a\"")), -1);
        row("relative address", list(withMember("fileURL", "\"file:b.m4a\"")), -1);
        row("one bad of two", "[" + entry + "," + withoutMember("title") + "]", -1);
        row("object at the top", entry, -1);
        row("number in the list", "[1]", -1);
        row("empty file", "", -1);
        row("zeros", QByteArray(4096, '\0'), -1);
        row("invalid UTF-8", list(withMember("title", "\"\xff\xfe\"")), -1);
        row("deep", QByteArray(100'000, '['), -1);
        row("after the end", "[] x", -1);
    }

    void onlyWholeListsAreRead()
    {
        QFETCH(QByteArray, content);
        QFETCH(int, count);
        const auto list = decodeRecents(content);
        QCOMPARE(list ? list->size() : -1, qsizetype{count});
        if (count > 0)
            QCOMPARE(encodeRecents(*decodeRecents(encodeRecents(*list))), encodeRecents(*list));
    }

    void loadingBringsEntriesUpToDate()
    {
        const Story story;
        const QByteArray file = R"("file:\/\/\/a\/rec%201.m4a")";
        auto unfinished = withMember("status", "\"processing\"");
        unfinished.insert(unfinished.size() - 1, R"(,"uploadProgress":"上传中","fileURL":)" + file);
        auto failed = withMember("status", "\"failed\"");
        failed.insert(failed.size() - 1,
                      R"(,"uploadProgress":"未登录","clientRecordingId":"","fileURL":)" + file);
        put(story.path, "[" + unfinished + "," + failed + "," + entry + "]");

        const auto sessions = story.load();
        QCOMPARE(sessions.size(), 3);
        QCOMPARE(sessions[0].status, RecentSession::Status::ready);
        QCOMPARE(sessions[0].uploadProgress, std::nullopt);
        QCOMPARE(sessions[0].clientRecordingId, u"mac-file-rec 1"_s);
        QCOMPARE(sessions[0].when, u"昨天"_s);
        QCOMPARE(sessions[1].status, RecentSession::Status::failed);
        QCOMPARE(sessions[1].uploadProgress, u"未登录"_s);
        QCOMPARE(sessions[1].clientRecordingId, u""_s);
        QCOMPARE(sessions[2].clientRecordingId, std::nullopt);
    }

    void anEmptyListIsAList()
    {
        const Story story;
        put(story.path, "[]");
        putDated(story.folder + u"/a.m4a"_s, 80'000, story.clock.now());
        QCOMPARE(story.load(), QList<RecentSession>());
    }

    void theListIsRebuiltFromFiles()
    {
        const Story story;
        const QDateTime now = story.clock.now();
        putDated(story.folder + u"/B.M4A"_s, 80'000, now.addDays(-1));
        putDated(story.folder + u"/a.wav"_s, 7999, now.addSecs(-120));
        putDated(story.folder + u"/.c 1%.mp3"_s, 8000LL * 3720, now.addDays(-3));
        putDated(story.folder + u"/notes.txt"_s, 80'000, now);
        QVERIFY(QDir(story.folder).mkpath(u"folder.m4a/inside.m4a"_s));
        QVERIFY(QFile::link(u"/dev/zero"_s, story.folder + u"/device.m4a"_s));
        QVERIFY(QFile::link(u"/not/there.m4a"_s, story.folder + u"/dangling.m4a"_s));
        const QString pipe = story.folder + u"/pipe.m4a"_s;
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);

        const auto sessions = story.load();
        QCOMPARE(titles(sessions), QStringList({u"a"_s, u"B"_s, u".c 1%"_s}));
        QCOMPARE(sessions[0].duration, u"0s"_s);
        QCOMPARE(sessions[0].durationSeconds, 0);
        QCOMPARE(sessions[0].when, u"2分钟前"_s);
        QCOMPARE(sessions[1].duration, u"10s"_s);
        QCOMPARE(sessions[1].durationSeconds, 10);
        QCOMPARE(sessions[1].when, u"昨天"_s);
        QCOMPARE(sessions[1].startedAt, now.addDays(-1));
        QCOMPARE(sessions[1].clientRecordingId, u"mac-file-B"_s);
        QCOMPARE(sessions[2].duration, u"1h 2m"_s);
        QCOMPARE(sessions[2].fileURL->toLocalFile(), story.folder + u"/.c 1%.mp3"_s);
        for (const RecentSession &session : sessions) {
            QCOMPARE(session.status, RecentSession::Status::ready);
            QVERIFY(!session.id.isNull() && !session.uploadProgress && !session.remoteID);
        }
        QVERIFY(!QFile::exists(story.path));
    }

    void whatCannotBeReadIsKeptAside_data()
    {
        QTest::addColumn<std::function<void(QString)>>("damage");
        const auto row = [](const char *name, const std::function<void(QString)> &damage) {
            QTest::addRow("%s", name) << damage;
        };
        row("garbage", [](const QString &path) { put(path, "garbage"); });
        row("one bad entry", [](const QString &path) { put(path, "[" + entry + ",{}]"); });
        row("huge", [](const QString &path) {
            put(path, {});
            QVERIFY(QFile::resize(path, qint64{1} << 40));
        });
        row("folder", [](const QString &path) { QVERIFY(QDir().mkpath(path + u"/x"_s)); });
        row("pipe", [](const QString &path) {
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        });
        row("link to a device", [](const QString &path) { QFile::link(u"/dev/zero"_s, path); });
    }

    void whatCannotBeReadIsKeptAside()
    {
        QFETCH(std::function<void(QString)>, damage);
        const Story story;
        damage(story.path);
        struct stat before{};
        QCOMPARE(::lstat(QFile::encodeName(story.path).constData(), &before), 0);
        putDated(story.folder + u"/a.m4a"_s, 80'000, story.clock.now());

        RecentsFile file(story.clock);
        const auto sessions = file.load(story.folder);
        QCOMPARE(titles(sessions), QStringList{u"a"_s});
        QCOMPARE(story.names(), QStringList({u".sessions.json"_s, u"a.m4a"_s}));

        QVERIFY(file.save(story.folder, sessions));
        QVERIFY(file.save(story.folder, sessions));
        QCOMPARE(story.load(), sessions);
        QCOMPARE(story.names(),
                 QStringList({u".sessions.json"_s, u".sessions.json.old"_s, u"a.m4a"_s}));
        struct stat after{};
        const auto aside = QFile::encodeName(story.path + u".old"_s);
        QCOMPARE(::lstat(aside.constData(), &after), 0);
        QCOMPARE(after.st_ino, before.st_ino);
        QCOMPARE(after.st_size, before.st_size);
    }

    void theListOfAnotherFolderIsKeptAside()
    {
        const Story story;
        RecentsFile file(story.clock);
        QCOMPARE(file.load(story.folder), QList<RecentSession>());
        put(story.path, "[" + entry + "]"); // the disk with the folder was not there before
        QVERIFY(file.save(story.folder, {minimalSession()}));
        QCOMPARE(contentOf(story.path + u".old"_s), "[" + entry + "]");
        QCOMPARE(titles(story.load()), QStringList{u"t"_s});

        // The disk comes back, and its list covers what was saved meanwhile.
        const std::filesystem::path list(story.path.toStdU16String());
        const auto saved = std::filesystem::last_write_time(list);
        QVERIFY(QFile::remove(story.path + u".old"_s));
        put(story.folder + u"/other"_s, "[1]");
        std::filesystem::rename((story.folder + u"/other"_s).toStdU16String(), list);
        std::filesystem::last_write_time(list, saved);
        QVERIFY(file.save(story.folder, {}));
        QCOMPARE(contentOf(story.path + u".old"_s), QByteArray("[1]"));

        // Somebody writes into the file itself.
        put(story.path, "[2]");
        QVERIFY(file.save(story.folder, {}));
        QCOMPARE(contentOf(story.path + u".old-2"_s), QByteArray("[2]"));
    }

    void anOlderDraftOfOneFolderDoesNotCountInAnother()
    {
        const Story story;
        const QString other = story.directory.filePath(u"other"_s);
        RecentsFile file(story.clock);
        const auto draft = file.draft(story.folder, {minimalSession()});
        QVERIFY(file.save(other, {}));
        file.adopt(draft.result());
        QCOMPARE(titles(story.load()), QStringList{u"t"_s});
    }

    void aFailedSaveIsMadeUpForByTheNext()
    {
        const Story story;
        const QString folder = story.folder + u"/way/deep"_s;
        put(story.folder + u"/way"_s, "a file in the way");
        RecentsFile file(story.clock);
        QVERIFY(!file.save(folder, {minimalSession()}));
        QVERIFY(QFile::remove(story.folder + u"/way"_s));
        QVERIFY(file.save(folder, {minimalSession()}));
        QCOMPARE(titles(RecentsFile(story.clock).load(folder)), QStringList{u"t"_s});
    }

    void aListThatWouldNotBeReadAgainIsNotSaved()
    {
        const Story story;
        RecentsFile file(story.clock);
        QVERIFY(file.save(story.folder, {minimalSession()}));
        RecentSession endless = minimalSession();
        endless.remoteID = QString(64 << 20, u'a');
        QVERIFY(!file.save(story.folder, {endless}));
        QCOMPARE(titles(story.load()), QStringList{u"t"_s});
    }

    void leftoversOfAKillAreRemoved()
    {
        const Story story;
        put(story.path, "[" + entry + "]");
        put(story.path + u".a1B2c3.partial"_s, "[");
        QCOMPARE(story.load().size(), 1);
        QCOMPARE(story.names(), QStringList{u".sessions.json"_s});
    }
};

QTEST_GUILESS_MAIN(RecentsFileTest)
#include "test_recents_file.moc"
