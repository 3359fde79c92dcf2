#pragma once

#include "platform/linux/media/AacEncoder.h"

#include <QHash>
#include <QString>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>

/// The packets of a track that is being recorded, for one reader that follows it.
///
/// The writer never waits for the reader: packets are kept up to a bound, beyond which the track
/// is given up. Every operation may be called on any thread.
class LiveTrack
{
public:
    enum class State {
        growing,
        ended, ///< closed in order; frameCount() is its exact length
        lost,  ///< some packets were dropped, or the writer failed: read the file instead
    };

    explicit LiveTrack(AacFormat format)
        : m_format(std::move(format))
    {
    }

    const AacFormat &format() const { return m_format; }

    // For the writer.
    void push(const AacPacket &packet);
    void end(qint64 frameCount);
    void lose();

    // For the reader.
    /// Announces the reader; without one only the first minute is kept for it.
    void follow();

    /// The next packet, waiting until there is one or the track is no longer growing, for
    /// \p timeout at most. None when there is none; state() tells why.
    std::optional<AacPacket> next(std::chrono::milliseconds timeout);
    State state() const;
    qint64 frameCount() const;

private:
    /// Ten minutes of packets at 48 kHz, about 10 MB at the highest bit rate.
    static constexpr std::size_t followedBound = 28125;

    /// A reader comes right after the start, or never.
    static constexpr std::size_t unfollowedBound = followedBound / 10;

    const AacFormat m_format;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<AacPacket> m_packets;
    bool m_isFollowed = false;
    State m_state = State::growing;
    qint64 m_frameCount = 0;
};

/// Where the tracks that are being recorded are found by their file. Any thread.
class LiveTracks
{
public:
    /// Announces the track that is being written to \p path.
    std::shared_ptr<LiveTrack> open(const QString &path, AacFormat format);

    /// The track being written to \p path, or null. Only the first caller gets it.
    std::shared_ptr<LiveTrack> take(const QString &path);

    /// Forgets the track at \p path, if nobody took it.
    void close(const QString &path);

private:
    std::mutex m_mutex;
    QHash<QString, std::shared_ptr<LiveTrack>> m_tracks;
};
