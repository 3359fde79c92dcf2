#include "platform/linux/mix/TrackReader.h"

#include "platform/linux/media/TrackFile.h"
#include "platform/linux/mix/MixFile.h"

#include <algorithm>

using namespace Qt::StringLiterals;

TrackReader::TrackReader(TrackDecoder decoder, qint64 frameCount)
    : m_decoder(std::move(decoder))
    , m_frameCount(frameCount)
{
}

std::expected<TrackReader, Error> TrackReader::open(const QString &path)
{
    auto fragments = FragmentReader::open(path);
    auto reader = fragments ? openFragments(std::move(*fragments), path) : openIndexed(path);
    if (reader && reader->m_decoder.sampleRate() != mixEncoding.sampleRate)
        return std::unexpected(Error(u"%1 的采样率不受支持"_s.arg(path)));
    return reader;
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
    TrackReader reader(std::move(*decoder), *frames);
    reader.m_fragments = std::move(fragments);
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
    TrackReader reader(std::move(*decoder), *frames);
    reader.m_file = std::move(*file);
    reader.m_streamIndex = track->index;
    return reader;
}

std::expected<void, Error> TrackReader::read(std::span<float> stereo)
{
    const auto asked = static_cast<qint64>(stereo.size()) / 2;
    const qint64 frames = std::clamp<qint64>(m_frameCount - m_sound.position(), 0, asked);
    const auto part = stereo.first(static_cast<std::size_t>(frames) * 2);
    while (m_sound.available() < frames) {
        if (const auto decoded = decodeMore(); !decoded)
            return decoded;
    }
    m_sound.take(part);
    std::ranges::fill(stereo.subspan(part.size()), 0.0F);
    return {};
}

std::expected<void, Error> TrackReader::decodeMore()
{
    const auto more = m_fragments ? decodeFragment() : decodeIndexed();
    if (!more)
        return std::unexpected(more.error());
    if (*more)
        return {};
    const qint64 before = m_sound.end();
    const auto finished = m_decoder.finish(m_sound);
    if (finished && m_sound.end() == before)
        return std::unexpected(Error(u"音轨不完整：缺少最后 %1 帧"_s.arg(m_frameCount - before)));
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
        const auto decoded = m_decoder.decode(packet, presentationTime, m_sound);
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
        decoded = m_decoder.decode(*m_packet, m_sound);
    }
    libav().av_packet_unref(m_packet.get());
    if (!decoded)
        return std::unexpected(decoded.error());
    return true;
}
