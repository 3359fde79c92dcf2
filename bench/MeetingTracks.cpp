#include "bench/MeetingTracks.h"

#include "bench/MeetingSound.h"

#include <QFile>

#include <span>

using namespace Qt::StringLiterals;

namespace
{
constexpr AudioEncoding systemEncoding{.sampleRate = 48000, .channelCount = 2, .bitRate = 128000};
constexpr AudioEncoding micEncoding{.sampleRate = 48000, .channelCount = 1, .bitRate = 64000};

EncodedTrack encodeTrack(const QString &rawPath, const AudioEncoding &encoding)
{
    QFile raw(rawPath);
    if (!raw.open(QIODevice::ReadOnly))
        std::exit(1);
    auto encoder = require(AacEncoder::create(encoding));
    EncodedTrack track;
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
    track.format = encoder.format();
    return track;
}
} // namespace

MeetingTracks::MeetingTracks(const QDir &folder, int minutes)
{
    makeMeetingSound(folder, 60 * minutes);
    system = encodeTrack(folder.filePath(u"system.raw"_s), systemEncoding);
    mic = encodeTrack(folder.filePath(u"mic.raw"_s), micEncoding);
}
