#include "base/AtomicFile.h"
#include "tests/support/Files.h"

#include <QDir>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>
#include <tuple>

using namespace Qt::StringLiterals;

/// What the disk was told, in order, since a test last cleared it.
static QStringList diskCalls;
static bool isRenamingRefused = false;

extern "C" int fsync(int descriptor)
{
    const QString file = QFile::symLinkTarget(u"/proc/self/fd/%1"_s.arg(descriptor));
    diskCalls.append(QFileInfo(file).isDir() ? u"sync folder"_s : u"sync file"_s);
    return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name) theirs are reserved
extern "C" int rename(const char *from, const char *to) noexcept
{
    diskCalls.append(u"name "_s + QFileInfo(QFile::decodeName(to)).fileName());
    if (isRenamingRefused) {
        errno = EIO;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

namespace
{
const QByteArray oldContent("old");
const QByteArray newContent(1 << 20, 'n');

QStringList namesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                  QDir::NoDotAndDotDot);
}

/// Files of this process cannot grow beyond \p bytes, as on a disk that is nearly full.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
        : m_handler(::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        ::signal(SIGXFSZ, m_handler);
    }

private:
    sighandler_t m_handler;
    rlimit m_before{};
};
} // namespace

class AtomicFileTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void waitsUntilPutInPlace()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"list"_s);
        put(path, oldContent);
        auto pending = AtomicFile::prepare(path, newContent).value();
        QCOMPARE(contentOf(path), oldContent);
        QCOMPARE(namesIn(folder.path()).size(), 2);
        pending.reset();
        QCOMPARE(namesIn(folder.path()), QStringList{u"list"_s});

        pending = AtomicFile::prepare(path, newContent).value();
        QVERIFY(pending->putInPlace(AtomicFile::Old::keptAside));
        pending.reset();
        QCOMPARE(contentOf(path), newContent);
        QCOMPARE(contentOf(path + u".old"_s), oldContent);
        QCOMPARE(namesIn(folder.path()).size(), 2);
    }

    void refusedNameLeavesTheOldFileAlone()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"list"_s);
        put(path, oldContent);
        isRenamingRefused = true;
        const auto replaced = AtomicFile::replace(path, newContent, AtomicFile::Old::keptAside);
        isRenamingRefused = false;
        QVERIFY(!replaced);
        QCOMPARE(contentOf(path), oldContent);
        QCOMPARE(namesIn(folder.path()), QStringList{u"list"_s});
    }

    void diskIsToldInOrder()
    {
        const QTemporaryDir folder;
        diskCalls.clear();
        QVERIFY(AtomicFile::replace(folder.filePath(u"list"_s), newContent));
        QCOMPARE(diskCalls, QStringList({u"sync file"_s, u"name list"_s, u"sync folder"_s}));
    }

    void replacesForThisUserOnly()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"list"_s);
        for (const QByteArray &content : {newContent, QByteArray(), oldContent}) {
            QVERIFY(AtomicFile::replace(path, content));
            QCOMPARE(contentOf(path), content);
        }
        QCOMPARE(QFile::permissions(path) & ~(QFile::ReadUser | QFile::WriteUser),
                 QFile::ReadOwner | QFile::WriteOwner);
        QCOMPARE(namesIn(folder.path()), QStringList{u"list"_s});
    }

    void failureChangesNothing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<AtomicFile::Old>("old");
        QTest::addColumn<int>("code");
        for (const auto old : {AtomicFile::Old::replaced, AtomicFile::Old::keptAside}) {
            const char *kind = old == AtomicFile::Old::replaced ? "replaced" : "kept aside";
            QTest::addRow("full disk, %s", kind) << u"list"_s << old << EFBIG;
            QTest::addRow("no folder, %s", kind) << u"absent/list"_s << old << ENOENT;
            QTest::addRow("folder is a file, %s", kind) << u"list/list"_s << old << ENOTDIR;
            QTest::addRow("name too long, %s", kind) << QString(250, u'x') << old << ENAMETOOLONG;
        }
        QTest::addRow("a folder stands there")
            << u"folder"_s << AtomicFile::Old::replaced << EISDIR;
    }

    void failureChangesNothing()
    {
        QFETCH(QString, name);
        QFETCH(AtomicFile::Old, old);
        QFETCH(int, code);
        const QTemporaryDir folder;
        put(folder.filePath(u"list"_s), oldContent);
        QVERIFY(QDir(folder.path()).mkpath(u"folder/inside"_s));
        const auto before = namesIn(folder.path());

        const auto room = static_cast<rlim_t>(newContent.size());
        const FileSizeLimit limit(code == EFBIG ? room / 2 : room);
        const auto result = AtomicFile::replace(folder.filePath(name), newContent, old);
        QVERIFY(!result);
        QCOMPARE(result.error().description(), u"无法写入文件："_s + systemErrorText(code));
        QCOMPARE(namesIn(folder.path()), before);
        QCOMPARE(contentOf(folder.filePath(u"list"_s)), oldContent);
    }

    void oldFilesAreKeptAside()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"list"_s);
        const auto keepAside = [&] {
            return AtomicFile::replace(path, newContent, AtomicFile::Old::keptAside).has_value();
        };
        QVERIFY(keepAside());
        QCOMPARE(namesIn(folder.path()), QStringList{u"list"_s});

        put(path, oldContent);
        QVERIFY(keepAside());
        QCOMPARE(contentOf(path + u".old"_s), oldContent);

        QVERIFY(QFile::remove(path) && QDir().mkpath(path + u"/inside"_s));
        QVERIFY(keepAside());
        QVERIFY(QFileInfo(path + u".old-2/inside"_s).isDir());

        QVERIFY(QFile::remove(path) && ::mkfifo(QFile::encodeName(path).constData(), 0600) == 0);
        QVERIFY(keepAside());
        QCOMPARE(contentOf(path), newContent);
        QCOMPARE(namesIn(folder.path()),
                 QStringList({u"list"_s, u"list.old"_s, u"list.old-2"_s, u"list.old-3"_s}));
    }

    void linksAreReplacedNotFollowed()
    {
        const QTemporaryDir folder;
        const QString elsewhere = folder.filePath(u"elsewhere"_s);
        const QString path = folder.filePath(u"list"_s);
        put(elsewhere, oldContent);
        QVERIFY(QFile::link(elsewhere, path));
        QVERIFY(AtomicFile::replace(path, newContent));
        QCOMPARE(contentOf(elsewhere), oldContent);
        QCOMPARE(contentOf(path), newContent);
    }

    void onlyOurLeftoversAreRemoved()
    {
        const QTemporaryDir folder;
        const QStringList foreign{u".list.a1B2c3.partial.m4a"_s, u".list.a1B2c3d.partial"_s,
                                  u".list.partial"_s, u"list.a1B2c3.partial"_s, u".list.old"_s};
        for (const QString &name : foreign + QStringList{u".list.a1B2c3.partial"_s})
            put(folder.filePath(name), oldContent);
        QVERIFY(QDir(folder.path()).mkdir(u".list.folder.partial"_s));
        AtomicFile::removeLeftovers(folder.filePath(u".list"_s));
        auto left = namesIn(folder.path());
        QVERIFY(left.removeOne(u".list.folder.partial"_s));
        QCOMPARE(QSet<QString>(left.begin(), left.end()),
                 QSet<QString>(foreign.begin(), foreign.end()));
    }

    void aKillLeavesOldOrNew_data()
    {
        QTest::addColumn<bool>("isKeptAside");
        QTest::addRow("replaced") << false;
        QTest::addRow("kept aside") << true;
    }

    void aKillLeavesOldOrNew()
    {
        QFETCH(const bool, isKeptAside);
        const auto old = isKeptAside ? AtomicFile::Old::keptAside : AtomicFile::Old::replaced;
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"list"_s);
        const QByteArray contents[] = {newContent, QByteArray(300'000, 'm')};
        QVERIFY(AtomicFile::replace(path, contents[0]));
        for (int kill = 0; kill < 40; ++kill) {
            const pid_t writer = ::fork();
            if (writer == 0) {
                for (int i = 0;; ++i) {
                    std::ignore = AtomicFile::replace(path, contents[i % 2], old);
                    ::unlink(QFile::encodeName(path + u".old"_s).constData());
                }
            }
            std::this_thread::sleep_for(
                std::chrono::microseconds(QRandomGenerator::global()->bounded(20'000)));
            ::kill(writer, SIGKILL);
            int status = 0;
            QCOMPARE(::waitpid(writer, &status, 0), writer);
            QVERIFY(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
            const QByteArray found = contentOf(path);
            QVERIFY2(found == contents[0] || found == contents[1], found.left(9).constData());
        }
        AtomicFile::removeLeftovers(path);
        const QDir left(folder.path(), u"list.old*"_s);
        for (const QString &name : left.entryList())
            QVERIFY(QFile::remove(left.filePath(name)));
        QCOMPARE(namesIn(folder.path()), QStringList{u"list"_s});
    }
};

QTEST_GUILESS_MAIN(AtomicFileTest)
#include "test_atomic_file.moc"
