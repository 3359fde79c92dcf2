// Counts the samples that are lost while other programs keep every core busy, beside a recorder of
// the sound server's own that takes the same output at the same moment:
//
//     tools/private-session --sound-only --cycle 2048 build/release/bin/bench_busy [SECONDS]

#include "platform/linux/pipewire/PipeWireCaptureService.h"
#include "tests/support/KeptSound.h"
#include "tests/support/SoundSession.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{
void print(const char *who, std::span<const float> samples)
{
    const auto trace = CounterTrace::find(samples, 1);
    std::printf("%-14s %lld samples taken, %lld lost, %lld twice\n", who,
                static_cast<long long>(trace.frames), static_cast<long long>(trace.skipped),
                static_cast<long long>(trace.repeated));
}

std::vector<float> rawSamples(const QString &path)
{
    QFile file(path);
    if (!file.open(QFile::ReadOnly))
        return {};
    std::vector<float> samples(static_cast<std::size_t>(file.size()) / sizeof(float));
    file.read(reinterpret_cast<char *>(samples.data()),
              std::ssize(samples) * qint64{sizeof(float)});
    return samples;
}
} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const QString speaker = qEnvironmentVariable("PARLOVANCE_SPEAKER");
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 120;
    if (speaker.isEmpty() || seconds < 1 || seconds > 300) {
        std::fprintf(
            stderr,
            "usage: tools/private-session --sound-only --cycle 2048 bench_busy [SECONDS]\n");
        return 2;
    }

    const QTemporaryDir folder;
    const QString peerFile = folder.filePath(u"peer"_s);
    const auto player =
        SoundSession::play(SoundSession::counterFile(seconds + 30.0, 1, 2), speaker);
    PipeWireServer server;
    TrackOrigin origin;
    PipeWireCaptureService service(server, origin);
    KeptCapture capture;
    const auto stream = service.makeStream({}, CaptureFormat());
    const auto delivering = stream->deliverTo(capture, u"com.parlovance.audio.system"_s);
    const auto started = QCoro::waitFor(stream->start());
    if (!delivering || !started) {
        std::fprintf(stderr, "the capture does not start\n");
        return 1;
    }
    auto peer = std::make_unique<SoundSession::Running>(
        QStringList{u"parec"_s, u"--device=%1.monitor"_s.arg(speaker), u"--format=float32le"_s,
                    u"--channels=1"_s, u"--rate=48000"_s, u"--raw"_s, peerFile});
    QTest::qWait(2000);

    std::vector<std::unique_ptr<SoundSession::Running>> hogs;
    hogs.resize(2 * static_cast<std::size_t>(QThread::idealThreadCount()));
    for (auto &hog : hogs)
        hog = std::make_unique<SoundSession::Running>(
            QStringList{u"sh"_s, u"-c"_s, u"while :; do :; done"_s});
    QTest::qWait(seconds * 1000);
    hogs.clear();
    QCoro::waitFor(stream->stop());
    peer.reset();
    print("this program", capture.sound.samples());
    print("parec", rawSamples(peerFile));
    return 0;
}
