#include "tests/support/Packets.h"

#include "platform/linux/media/AacEncoder.h"
#include "platform/linux/media/Libav.h"

#include <algorithm>

EncodedSound encodeSound(const AudioEncoding &encoding, std::span<const float> samples)
{
    EncodedSound sound;
    auto encoder = AacEncoder::create(encoding);
    if (!encoder)
        return sound;
    sound.format = encoder->format();
    const auto keep = [&](AacPacket &&packet) { sound.packets.push_back(std::move(packet)); };
    if (encoder->encode(samples, keep) && encoder->finish(keep))
        sound.frameCount = encoder->frameCount();
    return sound;
}

StoredPackets readPackets(const QString &path)
{
    StoredPackets stored;
    const auto input = openMovie(path);
    if (!input)
        return stored;
    AVFormatContext *const context = input->get();
    const LibavPacket packet(av_packet_alloc());
    while (av_read_frame(context, packet.get()) >= 0) {
        const auto *data = reinterpret_cast<const std::byte *>(packet->data);
        stored.packets.emplace_back(data, data + packet->size);
        av_packet_unref(packet.get());
    }
    if (context->nb_streams > 0) {
        const AVStream &track = *context->streams[0];
        const qint64 start = track.start_time == AV_NOPTS_VALUE ? 0 : track.start_time;
        stored.frameCount = std::max<qint64>(0, start + track.duration);
    }
    return stored;
}
