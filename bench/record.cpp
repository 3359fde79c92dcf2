// Records both sources with the program's own recorder, without its views, and prints what that
// cost from the start's completion to the stop's:
//
//     bench_record FOLDER SECONDS
//
// One line of JSON: CPU seconds, resident memory over time, and how long the stop took until the
// mixed file stood.

#include "audio/AudioRecorder.h"
#include "base/Tasks.h"
#include "platform/linux/desktop/SystemClock.h"
#include "platform/linux/desktop/SystemVolume.h"
#include "platform/linux/media/LiveTrack.h"
#include "platform/linux/media/TrackWriter.h"
#include "platform/linux/mix/FileAudioAssets.h"
#include "platform/linux/pipewire/PipeWireCaptureService.h"
#include "platform/linux/pipewire/PipeWireMicrophones.h"

#include <QCoreApplication>
#include <QCoroTimer>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <sys/resource.h>

#include <cstdio>

namespace
{
double cpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Resident memory now, in megabytes.
double residentMegabytes()
{
    QFile status(QStringLiteral("/proc/self/statm"));
    if (!status.open(QIODevice::ReadOnly))
        return 0.0;
    const double pages = status.readAll().split(' ').value(1).toDouble();
    return pages * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

QCoro::Task<> record(AudioRecorder &recorder, QString folder, int seconds)
{
    RecordingSettings settings;
    settings.saveDirectory = QUrl::fromLocalFile(folder);
    const auto started = co_await recorder.start(true, true, settings);
    if (!started) {
        std::fprintf(stderr, "%s\n", qPrintable(started.error().description()));
        QCoreApplication::exit(1);
        co_return;
    }

    const double cpuBefore = cpuSeconds();
    QJsonArray memory;
    for (int second = 0; second < seconds; ++second) {
        co_await QCoro::sleepFor(std::chrono::seconds(1));
        if (second % 10 == 9)
            memory.append(residentMegabytes());
    }
    const double cpuWhileRecording = cpuSeconds() - cpuBefore;

    QElapsedTimer stopping;
    stopping.start();
    const auto file = co_await recorder.stop();
    const QJsonObject result{
        {QStringLiteral("cpuSeconds"), cpuWhileRecording},
        {QStringLiteral("residentMegabytes"), memory},
        {QStringLiteral("stopSeconds"), static_cast<double>(stopping.nsecsElapsed()) * 1e-9},
        {QStringLiteral("file"), file ? file->toLocalFile() : QString()},
    };
    std::printf("%s\n", QJsonDocument(result).toJson(QJsonDocument::Compact).constData());
    QCoreApplication::exit(file ? 0 : 1);
}
} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3) {
        std::fprintf(stderr, "usage: bench_record FOLDER SECONDS\n");
        return 2;
    }

    SystemClock clock;
    SystemVolume volume;
    LiveTracks liveTracks;
    TrackWriterFactory writers(liveTracks);
    FileAudioAssets assets(liveTracks);
    TrackOrigin origin;
    PipeWireServer server;
    PipeWireCaptureService captureService(server, origin);
    PipeWireMicrophones microphones(server, origin, writers);
    const AudioPlatform platform{captureService, microphones, writers, assets, volume, clock, {}};
    AudioRecorder recorder(platform);

    runDetached(record(recorder, arguments.at(1), arguments.at(2).toInt()));
    return QCoreApplication::exec();
}
