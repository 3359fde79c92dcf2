#include "platform/linux/media/AacEncoder.h"
#include "platform/linux/media/M4aMuxer.h"
#include "platform/linux/media/MovieBoxes.h"
#include "platform/linux/media/PartFiles.h"
#include "tests/support/Decoded.h"
#include "tests/support/Packets.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

namespace
{
void muxPlain(const QString &path, const EncodedSound &sound)
{
    auto muxer = M4aMuxer::create(path, sound.format);
    QVERIFY(muxer);
    for (const AacPacket &packet : sound.packets)
        QVERIFY(muxer->addPacket(packet));
    QVERIFY(!isAbandoned(path));
    QVERIFY(muxer->finish(sound.frameCount));
    // On a Windows share nobody else can read it before.
    QVERIFY(isAbandoned(path));
}

/// \p count packets of some sound, again and again.
std::vector<AacPacket> manyPackets(const EncodedSound &sound, std::size_t count)
{
    std::vector<AacPacket> packets;
    packets.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        packets.push_back(sound.packets[i % sound.packets.size()]);
    return packets;
}
} // namespace

/// Sound goes through the encoder and into a plain file, and comes out at the same place, level and
/// length.
class TestAacFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void soundIsWhereItWas_data()
    {
        QTest::addColumn<int>("channels");
        QTest::addColumn<int>("rate");
        QTest::addRow("mono") << 1 << 48000;
        QTest::addRow("stereo") << 2 << 48000;
        QTest::addRow("44.1 kHz") << 2 << 44100;
    }

    void soundIsWhereItWas()
    {
        QFETCH(int, channels);
        QFETCH(int, rate);
        constexpr qint64 burst = 4800;
        constexpr qint64 frames = 96000;
        std::vector<float> samples(frames * static_cast<std::size_t>(channels));
        const auto noisy = noise(0.3, 9600, 1);
        for (int channel = 0; channel < channels; ++channel) {
            const auto tone = sine(channel == 0 ? 440 : 1000, 0.4, frames / 2, 1, rate);
            for (std::size_t i = 0; i < noisy.size(); ++i)
                samples[(burst + i) * static_cast<std::size_t>(channels) +
                        static_cast<std::size_t>(channel)] = noisy[i];
            for (std::size_t i = 0; i < tone.size(); ++i)
                samples[(frames / 2 + i) * static_cast<std::size_t>(channels) +
                        static_cast<std::size_t>(channel)] = tone[i];
        }
        muxPlain(path(), encodeSound({rate, channels, 96000 * channels}, samples));
        const auto decoded = decodeFile(path());
        QVERIFY(decoded);
        QCOMPARE(decoded->sampleRate, rate);
        QCOMPARE(decoded->frameCount(), frames);
        for (int channel = 0; channel < channels; ++channel) {
            QCOMPARE(correlationLag(noisy, decoded->channel(channel, burst, 9600), 1100), 0);
            const auto tone = decoded->channel(channel, frames / 2 + 4096, 40000);
            const double expected = channel == 0 ? 440 : 1000;
            const double other = channel == 0 ? 1000 : 440;
            QVERIFY(std::abs(toneLevel(tone, expected, rate) - 0.4) < 0.008);
            QVERIFY(toneLevel(tone, other, rate) < 0.01);
            QVERIFY(rmsLevel(decoded->channel(channel, 0, burst - 1024)) < 0.001);
        }
    }

    void packetsBeyondTheLengthAreNotPlayed()
    {
        EncodedSound sound = encodeSound({48000, 1, 64000}, sine(440, 0.5, 96000, 1));
        sound.frameCount = 50000;
        muxPlain(path(), sound);
        const auto decoded = decodeFile(path());
        QVERIFY(decoded);
        QCOMPARE(decoded->containerFrames, 50000);
        QCOMPARE(decoded->frameCount(), 50000);
    }

    void roomForTheIndexGrows_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addRow("temporary folder") << m_folder.path();
        QTest::addRow("memory") << u"/dev/shm"_s; // where content has to be moved by copying
    }

    void roomForTheIndexGrows()
    {
        QFETCH(QString, folder);
        const QTemporaryDir inside(folder + u"/growing-XXXXXX"_s);
        if (!inside.isValid())
            QSKIP("no such folder here");
        const QString file = inside.filePath(u"sound.m4a"_s);
        EncodedSound sound = encodeSound({48000, 1, 64000}, noise(0.3, 200000, 3));
        sound.packets = manyPackets(sound, 70000); // 25 minutes; the room doubles three times
        sound.frameCount = 70000 * aacFrameLength - aacFrameLength - 17;
        muxPlain(file, sound);
        const StoredPackets stored = readPackets(file);
        QCOMPARE(stored.frameCount, sound.frameCount);
        QVERIFY(stored.packets == sound.packets);
    }

    void soundBeyondFourGigabytes()
    {
        const EncodedSound sound = encodeSound({48000, 1, 64000}, noise(0.3, 96000, 4));
        constexpr qint64 dataOffset = (qint64(1) << 32) - 2000; // the first of the chunks before
        std::vector<quint32> sizes;
        for (const AacPacket &packet : sound.packets)
            sizes.push_back(static_cast<quint32>(packet.size()));
        BoxWriter front;
        writeFileType(front);
        writeMovie(front, {sound.format, sizes, sound.frameCount, dataOffset});
        front.text(std::string_view("\0\0\0\0mdat", 8)); // to the end of the file
        QFile file(path());                              // with a hole, which takes no room
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.write(reinterpret_cast<const char *>(front.data().data()),
                           static_cast<qint64>(front.size())) > 0);
        QVERIFY(file.seek(dataOffset));
        for (const AacPacket &packet : sound.packets)
            QVERIFY(file.write(reinterpret_cast<const char *>(packet.data()),
                               static_cast<qint64>(packet.size())) > 0);
        file.close();
        QVERIFY(readPackets(path()).packets == sound.packets);
        QVERIFY(file.remove());
    }

    void whatIsNoNumberIsEncodedAsSilence()
    {
        std::vector<float> samples = sine(440, 0.5, 96000, 1);
        for (std::size_t i = 20000; i < 20010; ++i)
            samples[i] = std::numeric_limits<float>::quiet_NaN();
        samples[30000] = std::numeric_limits<float>::infinity();
        samples[40000] = -std::numeric_limits<float>::max();
        muxPlain(path(), encodeSound({48000, 1, 64000}, samples));
        const auto decoded = decodeFile(path());
        QVERIFY(decoded);
        QCOMPARE(decoded->frameCount(), 96000);
        QCOMPARE(decoded->errorCount, 0);
        const auto after = decoded->channel(0, 48000, 40000);
        QVERIFY(std::abs(toneLevel(after, 440, 48000) - 0.5) < 0.01);
    }

private:
    QString path() const { return m_folder.filePath(u"sound.m4a"_s); }

    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(TestAacFiles)
#include "test_aac_files.moc"
