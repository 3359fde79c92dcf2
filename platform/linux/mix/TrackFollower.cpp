#include "platform/linux/mix/TrackFollower.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
// While a track grows its last packets are not read: the end of the very last one, which the
// encoder filled up with silence, does not belong to it.
constexpr qint64 heldBack = 4 * aacFrameLength;

std::unexpected<Error> failed(const QString &reason)
{
    return std::unexpected(Error(u"无法边录边混：%1"_s.arg(reason)));
}
} // namespace

TrackFollower::TrackFollower(std::shared_ptr<LiveTrack> track, TrackDecoder decoder)
    : m_track(std::move(track))
    , m_decoder(std::move(decoder))
{
}

std::expected<TrackFollower, Error> TrackFollower::create(std::shared_ptr<LiveTrack> track)
{
    auto decoder = TrackDecoder::create(track->format());
    if (!decoder)
        return std::unexpected(decoder.error());
    track->follow();
    return TrackFollower(std::move(track), std::move(*decoder));
}

std::expected<bool, Error> TrackFollower::prepare(qint64 frames, std::chrono::milliseconds patience)
{
    while (!m_frameCount && m_sound.available() < frames + heldBack) {
        // Ask for the state before the packets, so that no packet that came before the end is
        // overlooked.
        const LiveTrack::State state = m_track->state();
        const auto packet = m_track->next(patience);
        if (packet) {
            const qint64 presentationTime = (m_packets++ - 1) * aacFrameLength;
            const auto decoded = m_decoder.decode(*packet, presentationTime, m_sound);
            if (!decoded)
                return std::unexpected(decoded.error());
        } else if (state == LiveTrack::State::ended) {
            if (const auto ended = end(); !ended)
                return std::unexpected(ended.error());
        } else if (state == LiveTrack::State::lost) {
            return failed(u"音轨中断"_s);
        } else if (m_track->state() == LiveTrack::State::growing) {
            return false;
        }
    }
    return true;
}

std::expected<void, Error> TrackFollower::end()
{
    if (const auto finished = m_decoder.finish(m_sound); !finished)
        return finished;
    const qint64 frames = m_track->frameCount();
    if (frames < m_sound.position() || frames > m_sound.end())
        return failed(u"音轨长度与数据不符"_s);
    m_frameCount = frames;
    return {};
}

void TrackFollower::read(std::span<float> stereo)
{
    const auto asked = static_cast<qint64>(stereo.size()) / 2;
    const qint64 left = m_frameCount.value_or(m_sound.end()) - m_sound.position();
    const qint64 frames = std::clamp<qint64>(left, 0, asked);
    const auto sound = stereo.first(static_cast<std::size_t>(frames) * 2);
    m_sound.take(sound);
    std::ranges::fill(stereo.subspan(sound.size()), 0.0F);
}
