// The mix against FFmpeg's command-line program doing the same sum and the same encode, and how
// long a stop waits for a mix that was made while recording.
//
//   bench_mix [minutes of sound, 20] [hours of the long recording, 4] [its speed, 30]

#include "bench/MeetingSound.h"
#include "platform/linux/media/AacEncoder.h"
#include "platform/linux/media/FragmentWriter.h"
#include "platform/linux/media/LiveTrack.h"
#include "platform/linux/media/M4aMuxer.h"
#include "platform/linux/mix/FileAudioAssets.h"
#include "platform/linux/mix/Sum.h"
#include "platform/linux/mix/TrackFile.h"
#include "platform/linux/mix/TrackReader.h"
#include "platform/linux/mix/WholeFileMix.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QThread>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <thread>

using namespace Qt::StringLiterals;

namespace
{
constexpr int runCount = 5;
constexpr AudioEncoding systemEncoding{.sampleRate = 48000, .channelCount = 2, .bitRate = 128000};
constexpr AudioEncoding micEncoding{.sampleRate = 48000, .channelCount = 1, .bitRate = 64000};

template<class T>
T require(std::expected<T, Error> &&value)
{
    if (!value) {
        std::fprintf(stderr, "%s\n", qPrintable(value.error().description()));
        std::exit(1);
    }
    if constexpr (!std::is_void_v<T>)
        return std::move(*value);
}

// ---- Sound ---------------------------------------------------------------------------------

struct Track {
    AacFormat format;
    std::vector<AacPacket> packets;
    qint64 frameCount = 0;
};

Track encodeTrack(const QString &rawPath, const AudioEncoding &encoding)
{
    QFile raw(rawPath);
    if (!raw.open(QIODevice::ReadOnly))
        std::exit(1);
    auto encoder = require(AacEncoder::create(encoding));
    Track track;
    const auto keep = [&](AacPacket &&packet) { track.packets.push_back(std::move(packet)); };
    std::vector<float> block(static_cast<std::size_t>(4096 * encoding.channelCount));
    for (;;) {
        const qint64 size = raw.read(reinterpret_cast<char *>(block.data()),
                                     std::ssize(block) * qint64{sizeof(float)});
        if (size <= 0)
            break;
        require(encoder.encode(std::span(block).first(static_cast<std::size_t>(size) / 4), keep));
    }
    require(encoder.finish(keep));
    track.frameCount = encoder.frameCount();
    const auto configuration = encoder.configuration();
    track.format = {encoding.sampleRate,
                    encoding.channelCount,
                    encoding.bitRate,
                    {configuration.begin(), configuration.end()}};
    return track;
}

template<class Writer>
void writeTrack(const QString &path, const Track &track)
{
    auto writer = require(Writer::create(path, track.format));
    for (const AacPacket &packet : track.packets)
        require(writer.addPacket(packet));
    require(writer.finish(track.frameCount));
}

// ---- Whole files ---------------------------------------------------------------------------

struct Cost {
    double seconds = 0;
    double cpuSeconds = 0;
    double peakMegabytes = 0;
};

Cost runProcess(const QStringList &command)
{
    std::vector<QByteArray> words;
    words.reserve(static_cast<std::size_t>(command.size()));
    for (const QString &word : command)
        words.push_back(QFile::encodeName(word));
    std::vector<char *> arguments;
    arguments.reserve(words.size() + 1);
    for (QByteArray &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    QElapsedTimer timer;
    timer.start();
    pid_t child = 0;
    int status = -1;
    rusage used{};
    if (::posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0 ||
        ::wait4(child, &status, 0, &used) != child || status != 0) {
        std::fprintf(stderr, "%s failed\n", arguments[0]);
        std::exit(1);
    }
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return {.seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9,
            .cpuSeconds = seconds(used.ru_utime) + seconds(used.ru_stime),
            .peakMegabytes = static_cast<double>(used.ru_maxrss) / 1024};
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

MixComposition compose(const QString &system, const QString &mic)
{
    MixComposition composition;
    for (const QString &path : {system, mic})
        composition.insert(path,
                           static_cast<double>(require(inspectTrack(path)).frameCount) / 48000);
    return composition;
}

/// What one contender is: its command, and what it makes.
struct Contender {
    QString name;
    QStringList command;
    QString output;
    std::vector<Cost> costs;

    double medianOf(double Cost::*field) const
    {
        std::vector<double> values;
        values.reserve(costs.size());
        for (const Cost &cost : costs)
            values.push_back(cost.*field);
        return median(values);
    }
};

/// Signal to noise ratios in dB: of the whole, and the mean of those of 21 ms each, where there is
/// something to be heard.
struct Fidelity {
    double whole = 0;
    double segmental = 0;
};

/// Of \p mixed against the limited sum of the tracks.
Fidelity fidelity(const QString &system, const QString &mic, const QString &mixed)
{
    constexpr double audible = 1e-6 * 2048; // -60 dBFS
    auto first = require(TrackReader::open(system));
    auto second = require(TrackReader::open(mic));
    auto result = require(TrackReader::open(mixed));
    std::vector<float> sum(2048);
    std::vector<float> sound(2048);
    std::vector<float> heard(2048);
    double signal = 0;
    double noise = 0;
    double decibels = 0;
    double count = 0;
    for (qint64 i = 0; i + 1024 <= result.frameCount(); i += 1024) {
        require(first.read(sum));
        require(second.read(sound));
        require(result.read(heard));
        addSound(sum, sound);
        limitToFullScale(sum);
        double blockSignal = 0;
        double blockNoise = 1e-12;
        for (std::size_t sample = 0; sample < sum.size(); ++sample) {
            const auto value = static_cast<double>(sum[sample]);
            const double error = value - static_cast<double>(heard[sample]);
            blockSignal += value * value;
            blockNoise += error * error;
        }
        signal += blockSignal;
        noise += blockNoise;
        if (blockSignal > audible) {
            decibels += 10 * std::log10(blockSignal / blockNoise);
            ++count;
        }
    }
    return {10 * std::log10(signal / noise), decibels / count};
}

void compareWholeFiles(const QDir &folder, double seconds)
{
    const QString system = folder.filePath(u"system.m4a"_s);
    const QString mic = folder.filePath(u"mic.m4a"_s);
    const QString plainSystem = folder.filePath(u"system.plain.m4a"_s);
    const QString plainMic = folder.filePath(u"mic.plain.m4a"_s);
    std::vector<Contender> contenders;
    const QString reference = folder.filePath(u"ffmpeg.m4a"_s);
    // The microphone on both sides at unit gain, as the sum is meant; left alone it is 3 dB down.
    const QString filter = u"[1]pan=stereo|c0=c0|c1=c0[m];"
                           "[0][m]amix=inputs=2:duration=longest:normalize=0"_s;
    contenders.push_back({u"ffmpeg"_s,
                          {u"ffmpeg"_s, u"-v"_s, u"error"_s, u"-nostdin"_s, u"-y"_s, u"-i"_s,
                           plainSystem, u"-i"_s, plainMic, u"-filter_complex"_s, filter, u"-c:a"_s,
                           u"aac"_s, u"-b:a"_s, u"128k"_s, reference},
                          reference,
                          {}});
    const int cores = static_cast<int>(std::thread::hardware_concurrency());
    for (int threads = 1; threads <= std::min(cores, 8); threads *= 2) {
        const QString output = folder.filePath(u"%1.m4a"_s.arg(threads));
        contenders.push_back({u"%1 threads"_s.arg(threads),
                              {QCoreApplication::applicationFilePath(), u"--mix"_s, system, mic,
                               output, QString::number(threads)},
                              output,
                              {}});
    }
    for (int run = 0; run < runCount; ++run) {
        for (Contender &contender : contenders)
            contender.costs.push_back(runProcess(contender.command));
    }
    std::printf("%-10s %8s %8s %7s %7s %8s %8s %8s %8s\n", "", "wall s", "CPU s", "x real", "ratio",
                "kbit/s", "SNR dB", "segSNR", "peak MB");
    for (const Contender &contender : contenders) {
        std::vector<double> ratios;
        ratios.reserve(runCount);
        for (std::size_t run = 0; run < runCount; ++run)
            ratios.push_back(contender.costs[run].seconds / contenders[0].costs[run].seconds);
        const double wall = contender.medianOf(&Cost::seconds);
        const double bits = static_cast<double>(QFileInfo(contender.output).size()) * 8;
        const Fidelity found = fidelity(system, mic, contender.output);
        std::printf("%-10s %8.2f %8.2f %7.0f %7.3f %8.1f %8.2f %8.2f %8.0f\n",
                    qPrintable(contender.name), wall, contender.medianOf(&Cost::cpuSeconds),
                    seconds / wall, median(ratios), bits / seconds / 1000, found.whole,
                    found.segmental, contender.medianOf(&Cost::peakMegabytes));
    }
}

// ---- Ahead ---------------------------------------------------------------------------------

double residentMegabytes()
{
    QFile statm(u"/proc/self/statm"_s);
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    return statm.readAll().split(' ').value(1).toDouble() * 4096 / 1e6;
}

/// A recorder that plays \p track over and over.
struct Recorder {
    const Track &track;
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

void recordAndStop(const QDir &folder, const Track &systemTrack, const Track &micTrack,
                   double hours, double speed)
{
    const QString system = folder.filePath(u"long.system.m4a"_s);
    const QString mic = folder.filePath(u"long.mic.m4a"_s);
    const QString output = folder.filePath(u"long.m4a"_s);
    LiveTracks tracks;
    FileAudioAssets assets(tracks);
    Recorder first{systemTrack, tracks.open(system, systemTrack.format),
                   require(FragmentWriter::create(system, systemTrack.format))};
    Recorder second{micTrack, tracks.open(mic, micTrack.format),
                    require(FragmentWriter::create(mic, micTrack.format))};
    auto ahead = assets.mixAhead(system, mic, output);

    const auto total = static_cast<qint64>(hours * 3600 * 48000 / aacFrameLength);
    QElapsedTimer clock;
    clock.start();
    double earlyMegabytes = 0;
    while (first.packets < total) {
        QThread::msleep(20);
        const double seconds = static_cast<double>(clock.elapsed()) / 1000 * speed;
        const auto due = std::min(total, static_cast<qint64>(seconds * 48000 / aacFrameLength));
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
    const auto session = assets.makeExport(composition, output, std::move(ahead));
    const bool completed = QCoro::waitFor(session->run({})).completed;
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
    if (arguments.value(1) == u"--mix") {
        require(
            mixWholeFiles(compose(arguments[2], arguments[3]), arguments[4], arguments[5].toInt()));
        return 0;
    }
    const int minutes = arguments.value(1, u"20"_s).toInt();
    const double hours = arguments.value(2, u"4"_s).toDouble();
    const double speed = arguments.value(3, u"30"_s).toDouble();

    const QTemporaryDir temporary;
    const QDir folder(temporary.path());
    makeMeetingSound(folder, 60 * minutes);
    const Track system = encodeTrack(folder.filePath(u"system.raw"_s), systemEncoding);
    const Track mic = encodeTrack(folder.filePath(u"mic.raw"_s), micEncoding);
    writeTrack<FragmentWriter>(folder.filePath(u"system.m4a"_s), system);
    writeTrack<FragmentWriter>(folder.filePath(u"mic.m4a"_s), mic);
    writeTrack<M4aMuxer>(folder.filePath(u"system.plain.m4a"_s), system);
    writeTrack<M4aMuxer>(folder.filePath(u"mic.plain.m4a"_s), mic);

    compareWholeFiles(folder, 60.0 * minutes);
    recordAndStop(folder, system, mic, 0.25, speed);
    recordAndStop(folder, system, mic, hours, speed);
    return 0;
}
