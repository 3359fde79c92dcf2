#include "platform/linux/mix/LiveMix.h"

#include "base/Tasks.h"
#include "platform/linux/mix/MixFile.h"
#include "platform/linux/mix/TrackFollower.h"

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
constexpr auto patience = 500ms; ///< with a track that should have ended

/// For the calling thread only. There is no way back without privileges: what becomes urgent has
/// to be done by another thread.
void lowerPriority()
{
    ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), 10);
    ::pthread_setname_np(::pthread_self(), "mix-ahead");
}
} // namespace

/// Used by one thread at a time: first its own, then the one that calls finish().
class LiveMix::Work
{
public:
    using Tracks = std::vector<std::shared_ptr<LiveTrack>>;

    Work(Tracks tracks, const QString &outputPath, std::chrono::milliseconds lookInterval);
    ~Work();

    /// On any other thread, once.
    std::expected<void, Error> finish(const MixComposition &composition);

private:
    void run();
    std::expected<void, Error> setUp();
    void stopThread();
    bool waitForMore();
    bool isStopping();

    /// Encodes what both tracks have, unless asked to stop: true when that was all there will be.
    std::expected<bool, Error> advance(std::chrono::milliseconds wait);
    std::expected<bool, Error> prepareBlock(std::chrono::milliseconds wait);
    std::expected<void, Error> encodeBlock(qint64 frames);

    std::expected<void, Error> complete(const MixComposition &composition);
    std::optional<qint64> frameCount() const;
    void discard(const Error &reason);

    const Tracks m_tracks;
    const QString m_outputPath;
    const std::chrono::milliseconds m_lookInterval;
    std::vector<TrackFollower> m_followers;
    std::unique_ptr<MixFile> m_file; ///< null once discarded
    std::vector<float> m_sum;
    std::vector<float> m_sound;
    qint64 m_position = 0; ///< frames encoded
    std::optional<Error> m_failure;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_stopping = false; ///< guarded by m_mutex
    std::thread m_thread;
};

LiveMix::Work::Work(Tracks tracks, const QString &outputPath,
                    std::chrono::milliseconds lookInterval)
    : m_tracks(std::move(tracks))
    , m_outputPath(outputPath)
    , m_lookInterval(lookInterval)
    , m_thread([this] { run(); })
{
}

LiveMix::Work::~Work()
{
    stopThread();
    discard(Error(u"已放弃"_s));
}

void LiveMix::Work::run()
{
    lowerPriority();
    if (const auto ready = setUp(); !ready)
        return discard(ready.error());
    while (waitForMore()) {
        if (const auto advanced = advance(0ms); !advanced)
            return discard(advanced.error());
    }
}

std::expected<void, Error> LiveMix::Work::setUp()
{
    for (const auto &track : m_tracks) {
        auto follower = TrackFollower::create(track);
        if (!follower)
            return std::unexpected(follower.error());
        m_followers.push_back(std::move(*follower));
    }
    auto file = MixFile::create(m_outputPath);
    if (!file)
        return std::unexpected(file.error());
    m_file = std::move(*file);
    return {};
}

void LiveMix::Work::stopThread()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable())
        m_thread.join();
    m_stopping = false;
}

bool LiveMix::Work::waitForMore()
{
    std::unique_lock lock(m_mutex);
    return !m_changed.wait_for(lock, m_lookInterval, [this] { return m_stopping; });
}

bool LiveMix::Work::isStopping()
{
    const std::lock_guard lock(m_mutex);
    return m_stopping;
}

std::expected<bool, Error> LiveMix::Work::advance(std::chrono::milliseconds wait)
{
    while (!isStopping()) {
        if (const auto prepared = prepareBlock(wait); !prepared || !*prepared)
            return prepared;
        const qint64 frames = frameCount().value_or(m_position + aacFrameLength) - m_position;
        if (frames <= 0)
            return true;
        const auto encoded = encodeBlock(std::min(frames, aacFrameLength));
        if (!encoded)
            return std::unexpected(encoded.error());
    }
    return false;
}

std::expected<bool, Error> LiveMix::Work::prepareBlock(std::chrono::milliseconds wait)
{
    for (TrackFollower &follower : m_followers) {
        if (const auto prepared = follower.prepare(aacFrameLength, wait); !prepared || !*prepared)
            return prepared;
    }
    return true;
}

std::expected<void, Error> LiveMix::Work::encodeBlock(qint64 frames)
{
    m_sum.assign(static_cast<std::size_t>(frames) * 2, 0.0F);
    m_sound.resize(m_sum.size());
    for (TrackFollower &follower : m_followers) {
        follower.read(m_sound);
        addSound(m_sum, m_sound);
    }
    limitToFullScale(m_sum);
    m_position += frames;
    return m_file->append(m_sum);
}

/// Length of the mix; none while a track grows.
std::optional<qint64> LiveMix::Work::frameCount() const
{
    qint64 longest = 0;
    for (const TrackFollower &follower : m_followers) {
        if (!follower.frameCount())
            return std::nullopt;
        longest = std::max(longest, *follower.frameCount());
    }
    return longest;
}

/// Gives the room on the disk back at once.
void LiveMix::Work::discard(const Error &reason)
{
    m_file.reset();
    for (const auto &track : m_tracks)
        track->lose();
    m_failure = reason;
}

std::expected<void, Error> LiveMix::Work::finish(const MixComposition &composition)
{
    stopThread();
    if (m_failure)
        return std::unexpected(*m_failure);
    auto finished = complete(composition);
    if (finished)
        finished = m_file->publish();
    if (!finished)
        discard(finished.error());
    return finished;
}

std::expected<void, Error> LiveMix::Work::complete(const MixComposition &composition)
{
    const auto advanced = advance(patience);
    if (!advanced)
        return std::unexpected(advanced.error());
    if (!*advanced)
        return std::unexpected(Error(u"音轨尚未结束"_s));
    const auto &parts = composition.parts();
    if (parts.size() != std::ssize(m_followers))
        return std::unexpected(Error(u"音轨的数量不符"_s));
    for (qsizetype i = 0; i < parts.size(); ++i) {
        const qint64 followed = *m_followers[static_cast<std::size_t>(i)].frameCount();
        const qint64 closed = std::llround(parts[i].durationSeconds * mixEncoding.sampleRate);
        if (std::abs(followed - closed) > 1)
            return std::unexpected(Error(u"音轨长度与文件不符"_s));
    }
    return m_file->finish();
}

LiveMix::LiveMix(std::shared_ptr<LiveTrack> first, std::shared_ptr<LiveTrack> second,
                 const QString &outputPath, std::chrono::milliseconds lookInterval)
    : m_work(std::make_shared<Work>(Work::Tracks{std::move(first), std::move(second)}, outputPath,
                                    lookInterval))
{
}

LiveMix::~LiveMix()
{
    // Ending the work joins a thread and may remove a file, for which the main thread must not
    // wait.
    inBackground([work = std::move(m_work)]() mutable { work.reset(); });
}

QCoro::Task<std::expected<void, Error>> LiveMix::finish(MixComposition composition)
{
    const auto complete = [work = m_work, composition] { return work->finish(composition); };
    const auto completed = inBackground(complete);
    co_return co_await completed;
}
