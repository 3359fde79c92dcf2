#include "platform/linux/mix/TrackDecoder.h"

#include "platform/linux/mix/DecodedSound.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
std::unexpected<Error> failed(int code)
{
    return std::unexpected(Error(u"无法解码音轨：%1"_s.arg(libavErrorText(code))));
}

struct ParametersDeleter {
    void operator()(AVCodecParameters *parameters) const
    {
        libav().avcodec_parameters_free(&parameters);
    }
};
using Parameters = std::unique_ptr<AVCodecParameters, ParametersDeleter>;
} // namespace

TrackDecoder::TrackDecoder(LibavCodec codec)
    : m_codec(std::move(codec))
{
}

std::expected<TrackDecoder, Error> TrackDecoder::create(const AVCodecParameters &parameters)
{
    if (parameters.ch_layout.nb_channels < 1 || parameters.ch_layout.nb_channels > 2)
        return std::unexpected(Error(u"音轨的声道数不受支持"_s));
    const AVCodec *decoder = libav().avcodec_find_decoder(parameters.codec_id);
    if (!decoder)
        return failed(AVERROR_DECODER_NOT_FOUND);
    LibavCodec codec(libav().avcodec_alloc_context3(decoder));
    if (!codec)
        return failed(AVERROR(ENOMEM));
    if (const int result = libav().avcodec_parameters_to_context(codec.get(), &parameters);
        result < 0)
        return failed(result);
    // The delay of the encoder is cut off by time stamp, in one way for every kind of source.
    codec->flags2 |= AV_CODEC_FLAG2_SKIP_MANUAL;
    codec->thread_count = 1;
    codec->pkt_timebase = {1, parameters.sample_rate};
    if (const int result = libav().avcodec_open2(codec.get(), decoder, nullptr); result < 0)
        return failed(result);
    if (codec->sample_fmt != AV_SAMPLE_FMT_FLTP)
        return std::unexpected(Error(u"音轨的格式不受支持"_s));
    return TrackDecoder(std::move(codec));
}

std::expected<TrackDecoder, Error> TrackDecoder::create(const AacFormat &format)
{
    if (const auto loaded = loadLibav(); !loaded)
        return std::unexpected(loaded.error());
    const Parameters parameters(libav().avcodec_parameters_alloc());
    const std::size_t size = format.configuration.size();
    parameters->codec_type = AVMEDIA_TYPE_AUDIO;
    parameters->codec_id = AV_CODEC_ID_AAC;
    parameters->sample_rate = format.sampleRate;
    av_channel_layout_default(&parameters->ch_layout, format.channelCount);
    parameters->extradata =
        static_cast<std::uint8_t *>(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE));
    parameters->extradata_size = static_cast<int>(size);
    std::ranges::copy(std::as_bytes(std::span(format.configuration)),
                      reinterpret_cast<std::byte *>(parameters->extradata));
    return create(*parameters);
}

std::expected<void, Error> TrackDecoder::decode(const AVPacket &packet, DecodedSound &sound)
{
    // The library sets this flag where the file ends in the middle of a packet.
    if (packet.flags & AV_PKT_FLAG_CORRUPT)
        return failed(AVERROR_INVALIDDATA);
    return send(&packet, sound);
}

std::expected<void, Error> TrackDecoder::decode(std::span<const std::byte> packet,
                                                qint64 presentationTime, DecodedSound &sound)
{
    if (const int result = libav().av_new_packet(m_packet.get(), static_cast<int>(packet.size()));
        result < 0)
        return failed(result);
    std::ranges::copy(packet, reinterpret_cast<std::byte *>(m_packet->data));
    m_packet->pts = presentationTime;
    const auto sent = send(m_packet.get(), sound);
    libav().av_packet_unref(m_packet.get());
    return sent;
}

std::expected<void, Error> TrackDecoder::finish(DecodedSound &sound)
{
    return send(nullptr, sound);
}

std::expected<void, Error> TrackDecoder::send(const AVPacket *packet, DecodedSound &sound)
{
    if (const int result = libav().avcodec_send_packet(m_codec.get(), packet); result < 0)
        return failed(result);
    for (;;) {
        const int result = libav().avcodec_receive_frame(m_codec.get(), m_frame.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return {};
        if (result < 0)
            return failed(result);
        if (const auto placed = place(sound); !placed)
            return placed;
    }
}

std::expected<void, Error> TrackDecoder::place(DecodedSound &sound)
{
    const auto frames = static_cast<std::size_t>(m_frame->nb_samples);
    const auto *left = reinterpret_cast<const float *>(m_frame->extended_data[0]);
    const auto *right = m_frame->ch_layout.nb_channels > 1
                            ? reinterpret_cast<const float *>(m_frame->extended_data[1])
                            : left;
    m_stereo.resize(frames * 2);
    for (std::size_t i = 0; i < frames; ++i) {
        m_stereo[2 * i] = left[i];
        m_stereo[2 * i + 1] = right[i];
    }
    const qint64 position = m_frame->pts == AV_NOPTS_VALUE ? sound.end() : m_frame->pts;
    if (!sound.place(position, m_stereo))
        return std::unexpected(Error(u"音轨的时间标记有误"_s));
    return {};
}
