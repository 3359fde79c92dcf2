// How long the recents list takes to load and to save. Argument: a folder on the disk to measure
// (default: the temporary folder). A save includes waiting until the disk has the file.

#include "core/RecentsCoding.h"
#include "core/RecentsFile.h"
#include "core/SessionText.h"
#include "platform/linux/desktop/SystemClock.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <tuple>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{
constexpr int entryCount = 10'000;
constexpr int runCount = 21;

QList<RecentSession> manySessions(const QDateTime &now)
{
    QList<RecentSession> sessions;
    for (int i = 0; i < entryCount; ++i) {
        const QDateTime start = now.addSecs(-i * 3600LL);
        const QString name = u"recording-%1"_s.arg(i, 8, 10, QLatin1Char('0'));
        sessions.append(RecentSession{
            .title = u"周会：第 %1 次讨论"_s.arg(i),
            .duration = u"1h 2m"_s,
            .durationSeconds = 3720 + i,
            .when = relativeTime(start, now),
            .startedAt = start,
            .fileURL = QUrl::fromLocalFile(u"/home/user/文档/Parlovance/%1.m4a"_s.arg(name)),
            .remoteID = u"meeting-%1"_s.arg(i),
            .clientRecordingId = u"mac-file-"_s + name,
        });
    }
    return sessions;
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

double processorMilliseconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

void report(const char *what, const std::function<void()> &work)
{
    std::vector<double> wall;
    std::vector<double> processor;
    for (int run = 0; run < runCount; ++run) {
        QElapsedTimer timer;
        timer.start();
        const double before = processorMilliseconds();
        work();
        processor.push_back(processorMilliseconds() - before);
        wall.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    std::printf("%-28s %8.2f ms, of it on the processor %8.2f ms\n", what, median(wall),
                median(processor));
}

void makeRecordings(const QString &folder)
{
    for (int i = 0; i < entryCount; ++i) {
        QFile file(folder + u"/recording-%1.m4a"_s.arg(i));
        if (!file.open(QIODevice::WriteOnly) || !file.resize(80'000))
            qFatal("cannot make the files to be listed");
    }
}
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QString parent = argc > 1 ? QFile::decodeName(argv[1]) : QDir::tempPath();
    const QTemporaryDir folder(QDir(parent).filePath(u"recents-XXXXXX"_s));
    if (!folder.isValid())
        qFatal("cannot make a folder");
    const SystemClock clock;
    RecentsFile file(clock);
    const bool isSaved = file.save(folder.path(), manySessions(clock.now())).has_value();
    const auto sessions = file.load(folder.path());
    if (!isSaved || sessions.size() != entryCount)
        qFatal("the list does not come back");
    const QByteArray content = encodeRecents(sessions);

    std::printf("%d entries, %.1f MB, medians of %d runs\n", entryCount,
                static_cast<double>(content.size()) / 1e6, runCount);
    report("load", [&] { file.load(folder.path()); });
    report("save", [&] { std::ignore = file.save(folder.path(), sessions); });
    report("  of it: encoding", [&] { encodeRecents(sessions); });
    report("  of load: decoding", [&] { decodeRecents(content); });
    makeRecordings(folder.path());
    report("rebuild from as many files",
           [&] { RecentsFile::migrateFromDirectory(folder.path(), clock.now().toUTC()); });
}
