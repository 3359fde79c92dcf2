#pragma once

#include "base/Error.h"
#include "base/FileDescriptor.h"
#include "platform/linux/pipewire/FeedHistory.h"
#include "platform/linux/pipewire/PipeWireConnection.h"
#include "platform/linux/pipewire/SampleRing.h"

#include <atomic>
#include <chrono>
#include <expected>
#include <memory>
#include <mutex>
#include <optional>

/// What a stream records.
struct PipeWireStreamSettings {
    bool capturesSink = false; ///< what the default output plays, instead of the default input
    int sampleRate = 48000;    ///< frames per second
    int channelCount = 1;
};

/// One recording stream of the sound server, which follows the default device.
///
/// Only records: the program never plays, and so its own sound is never in what it captures. The
/// data thread copies each cycle into the ring and wakes the worker; it does nothing else.
class PipeWireStream
{
public:
    /// Not on the main thread. Sound arrives some time after.
    static std::expected<std::unique_ptr<PipeWireStream>, Error>
    open(std::shared_ptr<PipeWireConnection> connection, const PipeWireStreamSettings &settings);

    PipeWireStream(const PipeWireStream &) = delete;
    PipeWireStream &operator=(const PipeWireStream &) = delete;
    ~PipeWireStream();

    /// Ends the stream; what is in the ring stays there. Not on the loop thread.
    void close();

    // For the worker.
    SampleRing &ring() { return m_ring; }
    PipeWireConnection &connection() { return *m_connection; }

    /// Waits until something happened, at most \p limit.
    void wait(std::chrono::milliseconds limit);

    // Any thread.
    void wake();

    /// Why the stream ended by itself, if it did.
    std::optional<Error> failure() const;

    /// What the stream was linked to, up to now.
    FeedHistory feeds() const;

private:
    struct Events;

    PipeWireStream(std::shared_ptr<PipeWireConnection> connection,
                   const PipeWireStreamSettings &settings);
    std::expected<void, Error> connect();
    void capture() noexcept;
    void noteFeed(const AudioGraph &graph);
    void fail(const char *message);

    const std::shared_ptr<PipeWireConnection> m_connection;
    const PipeWireStreamSettings m_settings;
    SampleRing m_ring;
    FileDescriptor m_event;
    PipeWireStreamHandle m_stream;
    spa_hook m_hook{};
    std::atomic<bool> m_isClosing{false};
    std::atomic<quint64> m_cycles{0}; ///< orders the data thread's last write before close()

    mutable std::mutex m_mutex; ///< guards what follows
    std::optional<Error> m_failure;
    FeedHistory m_feeds;
};
