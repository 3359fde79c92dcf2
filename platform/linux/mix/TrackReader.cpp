#include "platform/linux/mix/TrackReader.h"

#include "platform/linux/mix/MixEncoding.h"
#include "platform/linux/mix/TrackFile.h"
#include "platform/linux/mix/TrackLength.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
constexpr qint64 conversionBlock = 4096; // frames
}

TrackReader::TrackReader(TrackDecoder decoder)
    : m_decoder(std::move(decoder))
{
}

std::expected<TrackReader, Error> TrackReader::open(const QString &path)
{
    auto fragments = FragmentReader::open(path);
    return fragments ? openFragments(std::move(*fragments), path) : openIndexed(path);
}

std::expected<TrackReader, Error> TrackReader::openFragments(FragmentReader fragments,
                                                             const QString &path)
{
    const auto frames = fragmentedLength(path);
    if (!frames)
        return std::unexpected(frames.error());
    auto decoder = TrackDecoder::create(fragments.format());
    if (!decoder)
        return std::unexpected(decoder.error());
    TrackReader reader(std::move(*decoder));
    reader.m_fragments = std::move(fragments);
    if (const auto set = reader.setLength(*frames); !set)
        return std::unexpected(set.error());
    return reader;
}

std::expected<TrackReader, Error> TrackReader::openIndexed(const QString &path)
{
    auto file = openIndexedFile(path);
    if (!file)
        return std::unexpected(file.error());
    const AVStream *track = firstAudioTrack(**file);
    if (!track)
        return std::unexpected(Error(u"%1 没有音轨"_s.arg(path)));
    const auto frames = audibleFrames(*track);
    if (!frames)
        return std::unexpected(frames.error());
    auto decoder = TrackDecoder::create(*track->codecpar);
    if (!decoder)
        return std::unexpected(decoder.error());
    TrackReader reader(std::move(*decoder));
    reader.m_file = std::move(*file);
    reader.m_streamIndex = track->index;
    if (const auto set = reader.setLength(*frames); !set)
        return std::unexpected(set.error());
    return reader;
}

std::expected<void, Error> TrackReader::setLength(qint64 nativeFrames)
{
    const int rate = m_decoder.sampleRate();
    m_nativeFrames = nativeFrames;
    m_frameCount = av_rescale(nativeFrames, mixEncoding.sampleRate, rate);
    if (rate == mixEncoding.sampleRate)
        return {};
    auto converter = RateConverter::create(rate, mixEncoding.sampleRate);
    if (!converter)
        return std::unexpected(converter.error());
    m_converter = std::move(*converter);
    return {};
}

std::expected<void, Error> TrackReader::read(std::span<float> stereo)
{
    const auto asked = static_cast<qint64>(stereo.size()) / 2;
    const qint64 frames = std::clamp<qint64>(m_frameCount - m_position, 0, asked);
    const auto sound = stereo.first(static_cast<std::size_t>(frames) * 2);
    std::ranges::fill(stereo.subspan(sound.size()), 0.0F);
    m_position += asked;
    return m_converter ? readConverted(sound) : readNative(sound);
}

std::expected<void, Error> TrackReader::readNative(std::span<float> stereo)
{
    while (m_timeline.available() < static_cast<qint64>(stereo.size()) / 2) {
        if (const auto decoded = decodeMore(); !decoded)
            return decoded;
    }
    m_timeline.take(stereo);
    return {};
}

std::expected<void, Error> TrackReader::readConverted(std::span<float> stereo)
{
    const auto frames = static_cast<qint64>(stereo.size()) / 2;
    while (m_converter->available() < frames) {
        const qint64 left = m_nativeFrames - m_timeline.position();
        m_block.resize(static_cast<std::size_t>(std::min(left, conversionBlock)) * 2);
        auto fed = readNative(m_block);
        if (fed)
            fed = m_block.empty() ? m_converter->finish() : m_converter->feed(m_block);
        if (!fed)
            return fed;
        if (m_block.empty())
            break;
    }
    // The two lengths are rounded apart by a frame at most.
    const qint64 ready = std::min(frames, m_converter->available());
    const auto sound = stereo.first(static_cast<std::size_t>(ready) * 2);
    m_converter->take(sound);
    std::ranges::fill(stereo.subspan(sound.size()), 0.0F);
    return {};
}

std::expected<void, Error> TrackReader::decodeMore()
{
    const auto more = m_fragments ? decodeFragment() : decodeIndexed();
    if (!more)
        return std::unexpected(more.error());
    if (*more)
        return {};
    const qint64 before = m_timeline.end();
    const auto finished = m_decoder.finish(m_timeline);
    if (finished && m_timeline.end() == before)
        return std::unexpected(Error(u"音轨不完整：缺少最后 %1 帧"_s.arg(m_nativeFrames - before)));
    return finished;
}

/// False when there is none any more.
std::expected<bool, Error> TrackReader::decodeFragment()
{
    const auto more = m_fragments->next();
    if (!more || !*more)
        return more;
    for (const auto packet : m_fragments->packets()) {
        const qint64 presentationTime = (m_packetNumber++ - 1) * aacFrameLength;
        const auto decoded = m_decoder.decode(packet, presentationTime, m_timeline);
        if (!decoded)
            return std::unexpected(decoded.error());
    }
    return true;
}

/// False when there is nothing any more.
std::expected<bool, Error> TrackReader::decodeIndexed()
{
    const int result = libav().av_read_frame(m_file.get(), m_packet.get());
    if (result == AVERROR_EOF)
        return false;
    if (result < 0)
        return std::unexpected(Error(u"无法读取音轨：%1"_s.arg(libavErrorText(result))));
    std::expected<void, Error> decoded;
    if (m_packet->stream_index == m_streamIndex) {
        const AVStream &track = *m_file->streams[m_streamIndex];
        libav().av_packet_rescale_ts(m_packet.get(), track.time_base, {1, m_decoder.sampleRate()});
        decoded = m_decoder.decode(*m_packet, m_timeline);
    }
    libav().av_packet_unref(m_packet.get());
    if (!decoded)
        return std::unexpected(decoded.error());
    return true;
}
