#pragma once

#include <pipewire/pipewire.h>

#include <memory>

/// Ends a PipeWire object of type \p T with \p destroy.
template<class T, auto destroy>
struct PipeWireDeleter {
    void operator()(T *object) const { destroy(object); }
};

using PipeWireLoop =
    std::unique_ptr<pw_thread_loop, PipeWireDeleter<pw_thread_loop, pw_thread_loop_destroy>>;
using PipeWireContext =
    std::unique_ptr<pw_context, PipeWireDeleter<pw_context, pw_context_destroy>>;
using PipeWireCore = std::unique_ptr<pw_core, PipeWireDeleter<pw_core, pw_core_disconnect>>;
using PipeWireProxy = std::unique_ptr<pw_proxy, PipeWireDeleter<pw_proxy, pw_proxy_destroy>>;
using PipeWireStreamHandle =
    std::unique_ptr<pw_stream, PipeWireDeleter<pw_stream, pw_stream_destroy>>;

/// Holds a loop's lock, without which its objects may not be touched from another thread.
class PipeWireLock
{
public:
    explicit PipeWireLock(pw_thread_loop *loop)
        : m_loop(loop)
    {
        pw_thread_loop_lock(m_loop);
    }
    PipeWireLock(const PipeWireLock &) = delete;
    PipeWireLock &operator=(const PipeWireLock &) = delete;
    ~PipeWireLock() { pw_thread_loop_unlock(m_loop); }

private:
    pw_thread_loop *m_loop;
};
