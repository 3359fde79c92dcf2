#include "platform/linux/media/AacEncoder.h"

#include "platform/linux/media/Libav.h"

extern "C" {
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace
{
// 18 dB above full scale. Far beyond it, or with a sample that is no number, the encoder gives up.
constexpr float sampleLimit = 8.0F;

float encodable(float sample)
{
    return std::isnan(sample) ? 0.0F : std::clamp(sample, -sampleLimit, sampleLimit);
}

Error encoderError(int code)
{
    return Error(u"AAC 编码失败：%1"_s.arg(libavErrorText(code)));
}
} // namespace

struct AacEncoder::State {
    LibavCodec codec;
    LibavFrame frame; ///< being filled
    LibavPacket packet;
    int filled = 0; ///< frames in \c frame
    qint64 frameCount = 0;

    int open(const AudioEncoding &encoding);
    int makeFrame();
    void fill(std::span<const float> interleaved);
    int sendFrame(const PacketHandler &handle);
    int receive(const PacketHandler &handle) const;
};

int AacEncoder::State::open(const AudioEncoding &encoding)
{
    const AVCodec *aac = libav().avcodec_find_encoder_by_name("aac");
    if (!aac)
        return AVERROR_ENCODER_NOT_FOUND;
    codec.reset(libav().avcodec_alloc_context3(aac));
    if (!codec)
        return AVERROR(ENOMEM);
    codec->sample_fmt = AV_SAMPLE_FMT_FLTP;
    codec->sample_rate = encoding.sampleRate;
    codec->bit_rate = encoding.bitRate;
    codec->cutoff = encoding.highestFrequency;
    codec->time_base = {1, encoding.sampleRate};
    codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER | AV_CODEC_FLAG_BITEXACT;
    av_channel_layout_default(&codec->ch_layout, encoding.channelCount);
    // At these rates as good as the default coder, at a half to a fifth of its cost on speech.
    av_opt_set(codec->priv_data, "aac_coder", "fast", 0);
    // Temporal noise shaping takes time here and loses 0.15 dB.
    av_opt_set_int(codec->priv_data, "aac_tns", 0, 0);
    if (const int result = libav().avcodec_open2(codec.get(), aac, nullptr); result < 0)
        return result;
    if (codec->frame_size != aacFrameLength || codec->initial_padding != aacFrameLength)
        return AVERROR_BUG;
    return makeFrame();
}

int AacEncoder::State::makeFrame()
{
    frame.reset(av_frame_alloc());
    packet.reset(libav().av_packet_alloc());
    if (!frame || !packet)
        return AVERROR(ENOMEM);
    frame->nb_samples = codec->frame_size;
    frame->format = codec->sample_fmt;
    frame->sample_rate = codec->sample_rate;
    if (const int result = av_channel_layout_copy(&frame->ch_layout, &codec->ch_layout); result < 0)
        return result;
    return av_frame_get_buffer(frame.get(), 0);
}

/// Takes as many frames as \p interleaved has, which fit.
void AacEncoder::State::fill(std::span<const float> interleaved)
{
    const auto channels = static_cast<std::size_t>(codec->ch_layout.nb_channels);
    const std::size_t frames = interleaved.size() / channels;
    for (std::size_t channel = 0; channel < channels; ++channel) {
        float *plane = reinterpret_cast<float *>(frame->extended_data[channel]) + filled;
        for (std::size_t i = 0; i < frames; ++i)
            plane[i] = encodable(interleaved[i * channels + channel]);
    }
    filled += static_cast<int>(frames);
    frameCount += static_cast<qint64>(frames);
}

int AacEncoder::State::sendFrame(const PacketHandler &handle)
{
    frame->pts = (frameCount - 1) / aacFrameLength * aacFrameLength;
    filled = 0;
    if (const int result = libav().avcodec_send_frame(codec.get(), frame.get()); result < 0)
        return result;
    if (const int result = receive(handle); result < 0)
        return result;
    return av_frame_make_writable(frame.get());
}

int AacEncoder::State::receive(const PacketHandler &handle) const
{
    for (;;) {
        const int result = libav().avcodec_receive_packet(codec.get(), packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return 0;
        if (result < 0)
            return result;
        const auto *data = reinterpret_cast<const std::byte *>(packet->data);
        AacPacket copy(data, data + packet->size);
        libav().av_packet_unref(packet.get());
        handle(std::move(copy));
    }
}

std::expected<AacEncoder, Error> AacEncoder::create(const AudioEncoding &encoding)
{
    if (const auto loaded = loadLibav(); !loaded)
        return std::unexpected(loaded.error());
    auto state = std::make_unique<State>();
    if (const int result = state->open(encoding); result < 0)
        return std::unexpected(Error(u"无法创建 AAC 编码器：%1"_s.arg(libavErrorText(result))));
    return AacEncoder(std::move(state));
}

AacEncoder::AacEncoder(std::unique_ptr<State> state)
    : m_state(std::move(state))
{
}

AacEncoder::AacEncoder(AacEncoder &&) noexcept = default;
AacEncoder &AacEncoder::operator=(AacEncoder &&) noexcept = default;
AacEncoder::~AacEncoder() = default;

AacFormat AacEncoder::format() const
{
    const AVCodecContext &codec = *m_state->codec;
    const auto *data = reinterpret_cast<const std::byte *>(codec.extradata);
    return {.sampleRate = codec.sample_rate,
            .channelCount = codec.ch_layout.nb_channels,
            .bitRate = static_cast<int>(codec.bit_rate),
            .configuration = {data, data + codec.extradata_size}};
}

std::expected<void, Error> AacEncoder::encode(std::span<const float> interleaved,
                                              const PacketHandler &handle)
{
    const auto channels = static_cast<std::size_t>(m_state->codec->ch_layout.nb_channels);
    Q_ASSERT(interleaved.size() % channels == 0);
    while (!interleaved.empty()) {
        const auto room = static_cast<std::size_t>(aacFrameLength - m_state->filled) * channels;
        const auto part = interleaved.first(std::min(room, interleaved.size()));
        m_state->fill(part);
        interleaved = interleaved.subspan(part.size());
        if (m_state->filled < aacFrameLength)
            break;
        if (const int result = m_state->sendFrame(handle); result < 0)
            return std::unexpected(encoderError(result));
    }
    return {};
}

std::expected<void, Error> AacEncoder::finish(const PacketHandler &handle)
{
    if (m_state->filled > 0) {
        const int channels = m_state->codec->ch_layout.nb_channels;
        av_samples_set_silence(m_state->frame->extended_data, m_state->filled,
                               static_cast<int>(aacFrameLength) - m_state->filled, channels,
                               AV_SAMPLE_FMT_FLTP);
        if (const int result = m_state->sendFrame(handle); result < 0)
            return std::unexpected(encoderError(result));
    }
    int result = libav().avcodec_send_frame(m_state->codec.get(), nullptr);
    if (result >= 0)
        result = m_state->receive(handle);
    if (result < 0)
        return std::unexpected(encoderError(result));
    return {};
}

qint64 AacEncoder::frameCount() const
{
    return m_state->frameCount;
}
