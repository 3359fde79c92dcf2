// How long a stop waits for a mix that was made while recording.
//
//   bench_mix_ahead [hours of the recording, 4] [its speed until shortly before the stop, 30]

#include "bench/MeetingTracks.h"
#include "platform/linux/media/FragmentWriter.h"
#include "platform/linux/media/LiveTrack.h"
#include "platform/linux/mix/FileAudioAssets.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
constexpr int minutesOfSound = 2;      // over and over
constexpr double secondsInTime = 10.0; // before the stop, so that nothing is left of the hurry

double residentMegabytes()
{
    QFile statm(u"/proc/self/statm"_s);
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    return statm.readAll().split(' ').value(1).toDouble() * 4096 / 1e6;
}

/// A recorder that plays \p track over and over.
struct Recorder {
    const EncodedTrack &track;
    std::shared_ptr<LiveTrack> live;
    FragmentWriter file;
    qint64 packets = 0;

    void record(qint64 until)
    {
        for (; packets < until; ++packets) {
            const auto next = static_cast<std::size_t>(packets) % track.packets.size();
            require(file.addPacket(track.packets[next]));
            live->push(track.packets[next]);
        }
    }
    void stop()
    {
        const qint64 frames = (packets - 1) * aacFrameLength - 100;
        require(file.finish(frames));
        live->end(frames);
    }
};

/// How much of a recording of \p length is over after \p passed, all in seconds.
double recorded(double passed, double length, double speed)
{
    const double fast = std::max(0.0, length - secondsInTime);
    return passed * speed < fast ? passed * speed : std::min(length, fast + passed - fast / speed);
}

void recordAndStop(const QDir &folder, const MeetingTracks &meeting, double hours, double speed)
{
    const QString system = folder.filePath(u"long.system.m4a"_s);
    const QString mic = folder.filePath(u"long.mic.m4a"_s);
    const QString output = folder.filePath(u"long.m4a"_s);
    LiveTracks tracks;
    FileAudioAssets assets(tracks);
    Recorder first{meeting.system, tracks.open(system, meeting.system.format),
                   require(FragmentWriter::create(system, meeting.system.format))};
    Recorder second{meeting.mic, tracks.open(mic, meeting.mic.format),
                    require(FragmentWriter::create(mic, meeting.mic.format))};
    auto ahead = assets.mixAhead(system, mic, output);

    const auto packets = [](double seconds) {
        return static_cast<qint64>(seconds * 48000 / aacFrameLength);
    };
    const double length = hours * 3600;
    const qint64 total = packets(length);
    QElapsedTimer clock;
    clock.start();
    double earlyMegabytes = 0;
    while (first.packets < total) {
        QThread::msleep(20);
        const double passed = static_cast<double>(clock.elapsed()) / 1000;
        const qint64 due = packets(recorded(passed, length, speed));
        first.record(due);
        second.record(due);
        if (earlyMegabytes == 0 && due > total / 10)
            earlyMegabytes = residentMegabytes();
    }
    const double lateMegabytes = residentMegabytes();
    const bool keptUp = first.live->state() == LiveTrack::State::growing;

    clock.start();
    first.stop();
    second.stop();
    const double closed = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    MixComposition composition;
    for (const QString &path : {system, mic}) {
        require(QCoro::waitFor(assets.audioTrackCount(path)));
        composition.insert(path, require(QCoro::waitFor(assets.durationSeconds(path))));
    }
    const double asked = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    const bool completed = QCoro::waitFor(ahead->finish(composition)).has_value();
    const double mixed = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    std::printf("%5.2f h: stop to file %.0f ms (tracks closed %.0f, lengths read %.0f, mix %.0f), "
                "resident %.0f MB after a tenth, %.0f in the end%s%s\n",
                hours, mixed, closed, asked - closed, mixed - asked, earlyMegabytes, lateMegabytes,
                keptUp ? "" : "; did NOT keep up", completed ? "" : "; FAILED");
    std::fflush(stdout);
}
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const double hours = arguments.value(1, u"4"_s).toDouble();
    const double speed = arguments.value(2, u"30"_s).toDouble();

    const QTemporaryDir temporary;
    const QDir folder(temporary.path());
    const MeetingTracks meeting(folder, minutesOfSound);
    recordAndStop(folder, meeting, 0.25, speed);
    recordAndStop(folder, meeting, hours, speed);
    return 0;
}
