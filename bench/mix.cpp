// The mix of two files against FFmpeg's command-line program doing the same sum and the same
// encode.
//
//   bench_mix [minutes of sound, 20]

#include "bench/MeetingTracks.h"
#include "platform/linux/media/FragmentWriter.h"
#include "platform/linux/media/M4aMuxer.h"
#include "platform/linux/media/TrackFile.h"
#include "platform/linux/mix/MixFile.h"
#include "platform/linux/mix/TrackReader.h"
#include "platform/linux/mix/WholeFileMix.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace
{
constexpr int runCount = 5;

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
    const QString output = folder.filePath(u"ours.m4a"_s);
    contenders.push_back(
        {u"ours"_s,
         {QCoreApplication::applicationFilePath(), u"--mix"_s, system, mic, output},
         output,
         {}});
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
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == u"--mix") {
        require(mixWholeFiles(compose(arguments[2], arguments[3]), arguments[4]));
        return 0;
    }
    const int minutes = arguments.value(1, u"20"_s).toInt();

    const QTemporaryDir temporary;
    const QDir folder(temporary.path());
    const MeetingTracks tracks(folder, minutes);
    tracks.system.write<FragmentWriter>(folder.filePath(u"system.m4a"_s));
    tracks.mic.write<FragmentWriter>(folder.filePath(u"mic.m4a"_s));
    tracks.system.write<M4aMuxer>(folder.filePath(u"system.plain.m4a"_s));
    tracks.mic.write<M4aMuxer>(folder.filePath(u"mic.plain.m4a"_s));
    compareWholeFiles(folder, 60.0 * minutes);
    return 0;
}
