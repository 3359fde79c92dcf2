#include "tests/support/SoundSession.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QTest>
#include <QtEndian>

#include <cmath>

using namespace Qt::StringLiterals;

namespace
{
constexpr double countsPerUnit = 16777216.0; // 2^24: whole numbers up to here are exact in a float

QByteArray waveHeader(quint32 dataBytes, quint16 channels)
{
    QByteArray header;
    const auto number = [&header](auto value) {
        const auto little = qToLittleEndian(value);
        header.append(reinterpret_cast<const char *>(&little), sizeof little);
    };
    constexpr quint32 rate = 48000;
    constexpr quint16 ieeeFloat = 3;
    const auto frameBytes = static_cast<quint16>(channels * sizeof(float));
    header.append("RIFF");
    number(dataBytes + 36);
    header.append("WAVEfmt ");
    number(quint32(16));
    number(ieeeFloat);
    number(channels);
    number(rate);
    number(rate * frameBytes);
    number(frameBytes);
    number(quint16(32));
    header.append("data");
    number(dataBytes);
    return header;
}

/// \p kind is that of pactl: sinks or sources. Never suspended: WirePlumber 0.4 crashes when an
/// idle device goes away within its timeout.
QString addDevice(const QString &kind, const QString &name, const QStringList &arguments)
{
    const QStringList command{u"pactl"_s, u"load-module"_s, u"module-null-sink"_s,
                              u"sink_name="_s + name,
                              u"sink_properties=session.suspend-timeout-seconds=0"_s};
    const QString module = SoundSession::run(command + arguments);
    if (!SoundSession::waitForOutput({u"pactl"_s, u"list"_s, u"short"_s, kind}, name))
        qFatal("the device %s does not appear", qPrintable(name));
    return module;
}
} // namespace

QString SoundSession::run(const QStringList &command)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(command.first(), command.mid(1));
    if (!process.waitForFinished(10'000))
        qFatal("%s does not run", qPrintable(command.first()));
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

bool SoundSession::waitForOutput(const QStringList &command, const QString &text)
{
    return QTest::qWaitFor([&] { return run(command).contains(text); }, 10'000);
}

QString SoundSession::addSink(const QString &name)
{
    return addDevice(u"sinks"_s, name, {u"channel_map=front-left,front-right"_s});
}

QString SoundSession::addMicrophone(const QString &name)
{
    return addDevice(u"sources"_s, name,
                     {u"media.class=Audio/Source/Virtual"_s, u"channel_map=mono"_s});
}

void SoundSession::removeDevice(const QString &module)
{
    run({u"pactl"_s, u"unload-module"_s, module});
}

std::optional<qint64> SoundSession::processNamed(const QString &name)
{
    const QByteArray mark = "PARLOVANCE_SESSION=" + qgetenv("PARLOVANCE_SESSION");
    for (const QString &entry : QDir(u"/proc"_s).entryList(QDir::Dirs)) {
        QFile command(u"/proc/%1/comm"_s.arg(entry));
        QFile environment(u"/proc/%1/environ"_s.arg(entry));
        if (command.open(QFile::ReadOnly) && command.readAll().trimmed() == name.toUtf8() &&
            environment.open(QFile::ReadOnly) && environment.readAll().split('\0').contains(mark))
            return entry.toLongLong();
    }
    return std::nullopt;
}

QString SoundSession::counterFile(double seconds, int sign, int channels)
{
    static const QTemporaryDir folder;
    const QString path = folder.filePath(u"%1 %2 %3.wav"_s.arg(seconds).arg(sign).arg(channels));
    const auto frames = static_cast<std::size_t>(seconds * 48000.0);
    std::vector<float> samples;
    for (std::size_t frame = 1; frame <= frames; ++frame) {
        const auto value = static_cast<float>(sign * static_cast<double>(frame) / countsPerUnit);
        samples.insert(samples.end(), static_cast<std::size_t>(channels), value);
    }
    const auto bytes = static_cast<quint32>(samples.size() * sizeof(float));
    QFile file(path);
    if (!file.open(QFile::WriteOnly))
        qFatal("no room for test files");
    file.write(waveHeader(bytes, static_cast<quint16>(channels)));
    file.write(reinterpret_cast<const char *>(samples.data()), bytes);
    return path;
}

SoundSession::Running::Running(const QStringList &command)
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(command.first(), command.mid(1));
    if (!m_process.waitForStarted())
        qFatal("%s does not run", qPrintable(command.first()));
}

SoundSession::Running::~Running()
{
    m_process.terminate();
    m_process.waitForFinished(2000);
}

std::unique_ptr<SoundSession::Running> SoundSession::play(const QString &file, const QString &sink)
{
    return std::make_unique<Running>(
        QStringList{u"pw-play"_s, u"--volume"_s, u"1.0"_s, u"--target"_s, sink, file});
}

std::unique_ptr<SoundSession::Running> SoundSession::speak(const QString &file,
                                                           const QString &microphone)
{
    return std::make_unique<Running>(QStringList{u"env"_s, u"PARLOVANCE_MICROPHONE="_s + microphone,
                                                 QFINDTESTDATA("../../tools/speak-into-microphone"),
                                                 file});
}

CounterTrace CounterTrace::find(std::span<const float> samples, int sign)
{
    CounterTrace trace;
    qint64 previous = 0;
    for (std::size_t place = 0; place < samples.size(); ++place) {
        const double scaled = double(samples[place]) * sign * countsPerUnit;
        const qint64 count = std::llround(scaled);
        trace.altered += scaled != static_cast<double>(count) ? 1 : 0;
        if (count <= 0)
            continue;
        const auto at = static_cast<qint64>(place);
        if (trace.frames++ == 0) {
            trace.firstPlace = at;
            trace.firstOffset = at - count;
        } else if (count <= previous) {
            ++trace.repeated;
        } else {
            trace.skipped += count - previous - 1;
        }
        trace.lastPlace = at;
        trace.lastOffset = at - count;
        previous = count;
    }
    return trace;
}
