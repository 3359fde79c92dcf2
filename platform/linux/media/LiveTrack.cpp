#include "platform/linux/media/LiveTrack.h"

void LiveTrack::push(const AacPacket &packet)
{
    const std::lock_guard lock(m_mutex);
    if (m_state != State::growing)
        return;
    if (m_packets.size() < (m_isFollowed ? followedBound : unfollowedBound)) {
        m_packets.push_back(packet);
    } else {
        m_state = State::lost;
        m_packets = {};
    }
    m_changed.notify_all();
}

void LiveTrack::end(qint64 frameCount)
{
    const std::lock_guard lock(m_mutex);
    if (m_state != State::growing)
        return;
    m_state = State::ended;
    m_frameCount = frameCount;
    m_changed.notify_all();
}

void LiveTrack::lose()
{
    const std::lock_guard lock(m_mutex);
    if (m_state != State::growing)
        return;
    m_state = State::lost;
    m_packets = {};
    m_changed.notify_all();
}

void LiveTrack::follow()
{
    const std::lock_guard lock(m_mutex);
    m_isFollowed = true;
}

std::optional<AacPacket> LiveTrack::next(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, timeout,
                       [this] { return !m_packets.empty() || m_state != State::growing; });
    if (m_packets.empty())
        return std::nullopt;
    AacPacket packet = std::move(m_packets.front());
    m_packets.pop_front();
    return packet;
}

LiveTrack::State LiveTrack::state() const
{
    const std::lock_guard lock(m_mutex);
    return m_state;
}

qint64 LiveTrack::frameCount() const
{
    const std::lock_guard lock(m_mutex);
    return m_frameCount;
}

std::shared_ptr<LiveTrack> LiveTracks::open(const QString &path, AacFormat format)
{
    auto track = std::make_shared<LiveTrack>(std::move(format));
    const std::lock_guard lock(m_mutex);
    m_tracks.insert(path, track);
    return track;
}

std::shared_ptr<LiveTrack> LiveTracks::take(const QString &path)
{
    const std::lock_guard lock(m_mutex);
    return m_tracks.take(path);
}

void LiveTracks::close(const QString &path)
{
    const std::lock_guard lock(m_mutex);
    m_tracks.remove(path);
}
