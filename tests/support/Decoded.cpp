#include "tests/support/Decoded.h"

#include "platform/linux/media/Libav.h"

#include <QFile>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>

namespace
{
/// The types of the outermost boxes, in order.
QList<QByteArray> boxTypes(const QString &path)
{
    QFile file(path);
    QList<QByteArray> types;
    if (!file.open(QIODevice::ReadOnly))
        return types;
    const auto number = [](QByteArrayView bytes) {
        quint64 value = 0;
        for (const char byte : bytes)
            value = value << 8 | static_cast<quint8>(byte);
        return value;
    };
    qint64 position = 0;
    while (file.seek(position)) {
        const QByteArray header = file.read(16);
        if (header.size() < 8)
            break;
        types.append(header.mid(4, 4));
        quint64 size = number(QByteArrayView(header).first(4));
        if (size == 1 && header.size() == 16)
            size = number(QByteArrayView(header).sliced(8));
        if (size < 8 || size > static_cast<quint64>(file.size()))
            break;
        position += static_cast<qint64>(size);
    }
    return types;
}

class Decoder
{
public:
    Decoder(LibavInput input, Decoded &decoded)
        : m_decoded(decoded)
        , m_input(std::move(input))
    {
    }

    int open()
    {
        if (const int result = avformat_find_stream_info(m_input.get(), nullptr); result < 0)
            return result;
        const AVCodec *codec = nullptr;
        m_stream = av_find_best_stream(m_input.get(), AVMEDIA_TYPE_AUDIO, -1, -1, &codec, 0);
        if (m_stream < 0)
            return m_stream;
        m_codec.reset(avcodec_alloc_context3(codec));
        avcodec_parameters_to_context(m_codec.get(), stream()->codecpar);
        m_codec->pkt_timebase = stream()->time_base;
        describe();
        return avcodec_open2(m_codec.get(), codec, nullptr);
    }

    void decode()
    {
        while (av_read_frame(m_input.get(), m_packet.get()) >= 0) {
            if (m_packet->stream_index == m_stream) {
                if (m_packet->flags & AV_PKT_FLAG_CORRUPT)
                    ++m_decoded.errorCount;
                if (avcodec_send_packet(m_codec.get(), m_packet.get()) < 0)
                    ++m_decoded.errorCount;
                receive();
            }
            av_packet_unref(m_packet.get());
        }
        avcodec_send_packet(m_codec.get(), nullptr);
        receive();
        const auto end = static_cast<std::size_t>(std::max<qint64>(m_decoded.containerFrames, 0) *
                                                  m_decoded.channelCount);
        m_decoded.samples.resize(std::min(m_decoded.samples.size(), end));
    }

private:
    AVStream *stream() const { return m_input->streams[m_stream]; }

    qint64 inFrames(qint64 time) const
    {
        return av_rescale_q(time, stream()->time_base, {1, m_decoded.sampleRate});
    }

    void describe()
    {
        m_decoded.sampleRate = m_codec->sample_rate;
        m_decoded.channelCount = m_codec->ch_layout.nb_channels;
        const qint64 start = stream()->start_time == AV_NOPTS_VALUE ? 0 : stream()->start_time;
        const qint64 duration = stream()->duration == AV_NOPTS_VALUE ? 0 : stream()->duration;
        m_decoded.startSeconds = static_cast<double>(start) * av_q2d(stream()->time_base);
        // The fragments' durations begin with the encoder's delay, before time 0. Newer libav gives
        // 0 as their start, so that their first packet is asked.
        const AVIndexEntry *first = avformat_index_get_entry(stream(), 0);
        m_decoded.containerFrames =
            inFrames((m_decoded.fragmented && first ? first->timestamp : start) + duration);
    }

    void receive()
    {
        for (;;) {
            const int result = avcodec_receive_frame(m_codec.get(), m_frame.get());
            if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
                return;
            if (result < 0) {
                ++m_decoded.errorCount;
                return;
            }
            place();
            av_frame_unref(m_frame.get());
        }
    }

    /// By its time stamp: what could not be decoded before it must not shift it.
    void place()
    {
        const qint64 first = inFrames(m_frame->best_effort_timestamp);
        const int channels = m_decoded.channelCount;
        const auto frames = static_cast<qint64>(m_frame->nb_samples);
        // A damaged time stamp, which would fill the memory with silence.
        if (constexpr qint64 longestHole = 600 * 48000;
            first > m_decoded.frameCount() + longestHole) {
            ++m_decoded.errorCount;
            return;
        }
        const auto needed =
            static_cast<std::size_t>(std::max<qint64>(first + frames, 0) * channels);
        m_decoded.samples.resize(std::max(m_decoded.samples.size(), needed));
        for (qint64 i = std::max<qint64>(0, -first); i < frames; ++i) {
            for (int channel = 0; channel < channels; ++channel) {
                const auto *plane =
                    reinterpret_cast<const float *>(m_frame->extended_data[channel]);
                m_decoded.samples[static_cast<std::size_t>((first + i) * channels + channel)] =
                    plane[i];
            }
        }
    }

    Decoded &m_decoded;
    LibavInput m_input;
    LibavCodec m_codec;
    LibavFrame m_frame{av_frame_alloc()};
    LibavPacket m_packet{av_packet_alloc()};
    int m_stream = -1;
};
} // namespace

qint64 Decoded::frameCount() const
{
    return channelCount > 0 ? static_cast<qint64>(samples.size()) / channelCount : 0;
}

std::vector<float> Decoded::channel(int number, qint64 firstFrame, qint64 frames) const
{
    const qint64 end = frames < 0 ? frameCount() : std::min(frameCount(), firstFrame + frames);
    std::vector<float> result;
    for (qint64 i = firstFrame; i < end; ++i)
        result.push_back(samples[static_cast<std::size_t>(i * channelCount + number)]);
    return result;
}

std::expected<Decoded, QString> decodeFile(const QString &path)
{
    auto input = openMovie(path);
    if (!input)
        return std::unexpected(input.error().description());
    Decoded decoded;
    const QList<QByteArray> types = boxTypes(path);
    decoded.indexInFront = types.contains("moov") && types.indexOf("moov") < types.indexOf("mdat");
    decoded.fragmented = types.contains("moof");
    Decoder decoder(*std::move(input), decoded);
    if (const int result = decoder.open(); result < 0)
        return std::unexpected(libavErrorText(result));
    decoder.decode();
    return decoded;
}

double toneLevel(std::span<const float> samples, double frequency, int sampleRate)
{
    // Goertzel.
    const double coefficient = 2 * std::cos(2 * std::numbers::pi * frequency / sampleRate);
    double previous = 0;
    double beforePrevious = 0;
    for (const float sample : samples) {
        const double current =
            static_cast<double>(sample) + coefficient * previous - beforePrevious;
        beforePrevious = previous;
        previous = current;
    }
    const double power = previous * previous + beforePrevious * beforePrevious -
                         coefficient * previous * beforePrevious;
    return samples.empty()
               ? 0
               : 2 * std::sqrt(std::max(power, 0.0)) / static_cast<double>(samples.size());
}

double rmsLevel(std::span<const float> samples)
{
    double sum = 0;
    for (const float sample : samples)
        sum += static_cast<double>(sample) * static_cast<double>(sample);
    return samples.empty() ? 0 : std::sqrt(sum / static_cast<double>(samples.size()));
}

qint64 correlationLag(std::span<const float> reference, std::span<const float> delayed,
                      qint64 range)
{
    qint64 best = 0;
    double bestSum = -std::numeric_limits<double>::infinity();
    for (qint64 lag = -range; lag <= range; ++lag) {
        const qint64 first = std::max<qint64>(0, -lag);
        const qint64 end = std::min(static_cast<qint64>(reference.size()),
                                    static_cast<qint64>(delayed.size()) - lag);
        double sum = 0;
        for (qint64 i = first; i < end; ++i)
            sum += static_cast<double>(reference[static_cast<std::size_t>(i)]) *
                   static_cast<double>(delayed[static_cast<std::size_t>(i + lag)]);
        if (sum > bestSum) {
            bestSum = sum;
            best = lag;
        }
    }
    return best;
}

std::vector<float> sine(double frequency, double amplitude, qint64 frames, int channelCount,
                        int sampleRate, qint64 firstFrame)
{
    std::vector<float> samples;
    samples.reserve(static_cast<std::size_t>(frames * channelCount));
    for (qint64 i = 0; i < frames; ++i) {
        const double turns = frequency * static_cast<double>(firstFrame + i) / sampleRate;
        const auto value = static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * turns));
        samples.insert(samples.end(), static_cast<std::size_t>(channelCount), value);
    }
    return samples;
}

std::vector<float> noise(double amplitude, qint64 frames, quint32 seed)
{
    std::mt19937 generator(seed);
    std::vector<float> samples(static_cast<std::size_t>(frames));
    for (float &sample : samples) {
        const double unit = static_cast<double>(generator()) / std::mt19937::max();
        sample = static_cast<float>(amplitude * (2 * unit - 1));
    }
    return samples;
}
