#pragma once

#include "base/Error.h"
#include "platform/linux/media/AacEncoder.h"
#include "platform/linux/media/Libav.h"

#include <expected>
#include <span>
#include <vector>

class DecodedSound;

/// Decodes the packets of one track as stereo; one channel goes to both sides unchanged.
///
/// The same packets give the same samples, wherever they come from. Used by one thread at a time.
class TrackDecoder
{
public:
    static std::expected<TrackDecoder, Error> create(const AVCodecParameters &parameters);
    static std::expected<TrackDecoder, Error> create(const AacFormat &format);

    int sampleRate() const { return m_codec->sample_rate; }

    /// Decodes \p packet, whose times are in frames, and puts its sound on \p sound. A packet
    /// that cannot be decoded is an error.
    std::expected<void, Error> decode(const AVPacket &packet, DecodedSound &sound);

    /// The same for a packet that starts at frame \p presentationTime.
    std::expected<void, Error> decode(std::span<const std::byte> packet, qint64 presentationTime,
                                      DecodedSound &sound);

    /// Puts what the decoder still holds on \p sound. Nothing can follow.
    std::expected<void, Error> finish(DecodedSound &sound);

private:
    explicit TrackDecoder(LibavCodec codec);

    std::expected<void, Error> send(const AVPacket *packet, DecodedSound &sound);
    std::expected<void, Error> place(DecodedSound &sound);

    LibavCodec m_codec;
    LibavFrame m_frame{av_frame_alloc()};
    LibavPacket m_packet{libav().av_packet_alloc()};
    std::vector<float> m_stereo;
};
