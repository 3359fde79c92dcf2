#pragma once

#include "base/Error.h"
#include "platform/linux/pipewire/AudioGraph.h"
#include "platform/linux/pipewire/PipeWireHandles.h"

#include <chrono>
#include <expected>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

/// Why the sound server could not be used.
struct ConnectionFailure {
    bool isRefused = false; ///< by the server, because of who we are
    Error error;
};

/// One connection to the sound server with its loop thread, and the graph as it is known there.
///
/// Once the server has gone it stays useless; open another one. Any thread unless said otherwise.
/// Must not be destroyed on its own loop thread.
class PipeWireConnection
{
public:
    using GraphObserver = std::function<void(const AudioGraph &graph)>;

    /// Connects and learns the graph; waits a few seconds at most. Not on the main thread.
    static std::expected<std::shared_ptr<PipeWireConnection>, ConnectionFailure> open();

    PipeWireConnection(const PipeWireConnection &) = delete;
    PipeWireConnection &operator=(const PipeWireConnection &) = delete;
    ~PipeWireConnection();

    pw_thread_loop *loop() const { return m_loop.get(); }
    pw_core *core() const { return m_core.get(); }

    /// Why the connection is of no use any more.
    std::optional<ConnectionFailure> failure() const;

    AudioGraph graph() const;

    /// Waits until the server has answered everything asked before, so that graph() is up to date.
    /// False when it did not within \p limit. Not on the loop thread.
    bool roundTrip(std::chrono::milliseconds limit);

    /// Calls \p observer on the loop thread now and at every change of the graph, until
    /// forgetObserver() with the same \p owner returns.
    void observeGraph(const void *owner, GraphObserver observer);
    void forgetObserver(const void *owner);

private:
    struct Events;

    PipeWireConnection() = default;
    std::expected<void, ConnectionFailure> connect();
    void changeGraph(const std::function<void(AudioGraph &)> &change);
    void addGlobal(quint32 id, const char *type, const spa_dict *properties);
    void fail(int code, const char *message);

    PipeWireLoop m_loop;
    PipeWireContext m_context;
    PipeWireCore m_core;
    PipeWireProxy m_registry;
    spa_hook m_coreHook{};
    spa_hook m_registryHook{};
    int m_answered = -1; ///< number of the last answer to a round trip; under the loop's lock

    mutable std::mutex m_mutex; ///< guards what follows
    AudioGraph m_graph;
    std::map<const void *, GraphObserver> m_observers;
    std::optional<ConnectionFailure> m_failure;
};
