#pragma once

#include "base/Error.h"
#include "platform/linux/pipewire/PipeWireConnection.h"
#include "platform/linux/pipewire/SampleRing.h"
#include "platform/linux/pipewire/WakeUp.h"

#include <atomic>
#include <expected>
#include <memory>
#include <mutex>
#include <optional>

/// The source and the format of a stream.
struct PipeWireStreamSettings {
    /// The serial of a microphone. None: what the default output plays, whichever that is.
    std::optional<quint64> microphone;
    int sampleRate = 48000; ///< frames per second
    int channelCount = 1;
};

/// One recording stream of the sound server.
///
/// A stream of what is played follows the default output. A stream of a microphone stays with that
/// one and ends with it: a stream that followed the default would be linked to the monitor of the
/// speakers where no microphone is left. Only records: the program never plays, and so its own
/// sound is never in what it captures.
class PipeWireStream
{
public:
    /// Not on the main thread. Sound arrives some time after, and each cycle wakes \p worker, which
    /// outlives the stream.
    static std::expected<std::unique_ptr<PipeWireStream>, Error>
    open(std::shared_ptr<PipeWireConnection> connection, const PipeWireStreamSettings &settings,
         WakeUp &worker);

    PipeWireStream(const PipeWireStream &) = delete;
    PipeWireStream &operator=(const PipeWireStream &) = delete;
    ~PipeWireStream();

    /// Ends the stream; what is in the ring stays there. Not on the loop thread.
    void close();

    /// For the worker.
    SampleRing &ring() { return m_ring; }

    // Any thread.

    /// Why the stream ended by itself, if it did.
    std::optional<Error> failure() const;

    /// Whether a device is linked to the stream.
    bool isLinked() const;

private:
    struct Events;

    PipeWireStream(std::shared_ptr<PipeWireConnection> connection,
                   const PipeWireStreamSettings &settings, WakeUp &worker);
    std::expected<void, Error> connect();
    void capture() noexcept;
    void fail(const char *message);

    const std::shared_ptr<PipeWireConnection> m_connection;
    const PipeWireStreamSettings m_settings;
    WakeUp &m_worker;
    SampleRing m_ring;
    PipeWireStreamHandle m_stream;
    spa_hook m_hook{};
    std::atomic<bool> m_isClosing{false};
    std::atomic<quint32> m_node{SPA_ID_INVALID}; ///< the server's number of the stream
    std::atomic<quint64> m_cycles{0}; ///< orders the data thread's last write before close()

    mutable std::mutex m_mutex;
    std::optional<Error> m_failure; ///< under the mutex
};
