#include "tools/localservice/RawServer.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace
{

/// As many requests as may be waiting, dripping or uploading at once.
constexpr size_t threadCount = 64;

thread_local Connection *currentConnection = nullptr;

} // namespace

bool Connection::send(QByteArrayView bytes)
{
    while (!bytes.isEmpty() && !m_isOver) {
        const ssize_t sent =
            ::send(m_socket, bytes.data(), static_cast<size_t>(bytes.size()), MSG_NOSIGNAL);
        m_isOver = sent <= 0;
        bytes = bytes.sliced(std::max<ssize_t>(sent, 0));
    }
    return !m_isOver;
}

void Connection::finish()
{
    m_isOver = true;
    shutdown(m_socket, SHUT_WR);
    // What the other side still sends is taken in, or the kernel would answer it with a reset that
    // overtakes the reply.
    pollfd wait{.fd = m_socket, .events = POLLIN, .revents = 0};
    while (poll(&wait, 1, 2000) > 0 && ::recv(m_socket, m_buffer.data(), m_buffer.size(), 0) > 0) {
    }
}

void Connection::reset()
{
    m_isOver = true;
    const linger none{.l_onoff = 1, .l_linger = 0};
    setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &none, sizeof(none));
}

ssize_t Connection::read(char *target, size_t size)
{
    if (m_begin == m_end) {
        const ssize_t received = ::recv(m_socket, m_buffer.data(), m_buffer.size(), 0);
        if (received <= 0)
            return received;
        m_begin = 0;
        m_end = static_cast<size_t>(received);
    }
    const size_t count = std::min(size, m_end - m_begin);
    std::memcpy(target, m_buffer.data() + m_begin, count);
    m_begin += count;
    return static_cast<ssize_t>(count);
}

ssize_t Connection::write(const char *data, size_t size)
{
    return send(QByteArrayView(data, static_cast<qsizetype>(size))) ? static_cast<ssize_t>(size)
                                                                    : -1;
}

RawServer::RawServer()
{
    new_task_queue = [] { return new httplib::ThreadPool(threadCount); };
    // The library's own choice would let two servers share one port.
    set_socket_options([](socket_t socket) {
        const int yes = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    });
}

void RawServer::stopNow()
{
    {
        const std::scoped_lock lock(m_mutex);
        m_isStopping = true;
        for (const int socket : m_sockets)
            shutdown(socket, SHUT_RDWR);
    }
    m_stopping.notify_all();
    stop();
}

Connection &RawServer::connection()
{
    return *currentConnection;
}

bool RawServer::pause(std::chrono::milliseconds duration)
{
    std::unique_lock lock(m_mutex);
    return !m_stopping.wait_for(lock, duration, [this] { return m_isStopping; });
}

bool RawServer::process_and_close_socket(socket_t socket)
{
    {
        const std::scoped_lock lock(m_mutex);
        m_sockets.insert(socket);
        if (m_isStopping)
            shutdown(socket, SHUT_RDWR);
    }
    const auto own = std::make_unique<Connection>(socket);
    currentConnection = own.get();
    bool isClosed = false;
    const bool isDone = process_request(*own, true, isClosed, nullptr);
    currentConnection = nullptr;

    const std::scoped_lock lock(m_mutex);
    m_sockets.erase(socket);
    close(socket);
    return isDone;
}
