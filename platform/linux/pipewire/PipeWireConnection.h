#pragma once

#include "base/Error.h"
#include "platform/linux/pipewire/AudioGraph.h"
#include "platform/linux/pipewire/PipeWireHandles.h"

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
    using GraphObserver = std::function<void()>;

    /// Connects and learns the graph; waits a few seconds at most. Not on the main thread.
    static std::expected<std::shared_ptr<PipeWireConnection>, ConnectionFailure> open();

    PipeWireConnection(const PipeWireConnection &) = delete;
    PipeWireConnection &operator=(const PipeWireConnection &) = delete;
    ~PipeWireConnection();

    pw_thread_loop *loop() const { return m_loop.get(); }
    pw_core *core() const { return m_core.get(); }

    /// For who looks at the process from outside. The thread has to run: a stream does.
    void nameDataThread();

    /// Why the connection is of no use any more.
    std::optional<ConnectionFailure> failure() const;

    /// Answers \p question about the graph, which nothing changes meanwhile. A copy of the graph
    /// would share its tables with the original, and so with the loop thread.
    template<typename Question>
    auto ask(Question question) const
    {
        const std::scoped_lock lock(m_mutex);
        return std::invoke(question, m_graph);
    }

    /// The serial of the default microphone, or what to tell the user where there is none.
    std::expected<quint64, Error> defaultMicrophone() const;

    /// Calls \p observer on the loop thread after every change of the graph, until
    /// forgetObserver() with the same \p owner returns.
    void observeGraph(const void *owner, GraphObserver observer);
    void forgetObserver(const void *owner);

private:
    struct Events;

    PipeWireConnection() = default;
    std::expected<void, ConnectionFailure> connect();
    bool roundTrip();
    void changeGraph(const std::function<void(AudioGraph &)> &change);
    void addGlobal(quint32 id, const char *type, const spa_dict *properties);
    void bindDefaults(quint32 id);
    void fail(int code, const char *message);

    PipeWireLoop m_loop;
    PipeWireContext m_context;
    PipeWireCore m_core;
    PipeWireProxy m_registry;
    PipeWireProxy m_defaults; ///< the session manager's choice of devices; null before it runs
    quint32 m_defaultsId = SPA_ID_INVALID;
    spa_hook m_coreHook{};
    spa_hook m_registryHook{};
    spa_hook m_defaultsHook{};
    int m_answered = -1; ///< number of the last answer to a round trip; under the loop's lock

    mutable std::mutex m_mutex; ///< guards what follows
    AudioGraph m_graph;
    std::map<const void *, GraphObserver> m_observers;
    std::optional<ConnectionFailure> m_failure;
};
