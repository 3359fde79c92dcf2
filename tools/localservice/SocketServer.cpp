#include "tools/localservice/SocketServer.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

QByteArray ServedSocket::readHead()
{
    QByteArray head;
    while (!head.contains("\r\n\r\n")) {
        const QByteArray more = read(4096);
        if (more.isEmpty())
            break;
        head += more;
    }
    return head;
}

// NOLINTBEGIN(readability-make-member-function-const) they change the connection
QByteArray ServedSocket::read(qsizetype limit)
{
    QByteArray bytes(limit, Qt::Uninitialized);
    const ssize_t count = ::recv(m_socket, bytes.data(), static_cast<size_t>(limit), 0);
    bytes.truncate(std::max<ssize_t>(count, 0));
    return bytes;
}

void ServedSocket::readToEnd()
{
    while (!read(1 << 20).isEmpty()) {
    }
}

bool ServedSocket::send(QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t count =
            ::send(m_socket, bytes.data(), static_cast<size_t>(bytes.size()), MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        bytes = bytes.sliced(count);
    }
    return true;
}

void ServedSocket::drip(QByteArrayView bytes, std::chrono::milliseconds interval)
{
    while (!bytes.isEmpty() && send(bytes.first(1)) && pause(interval))
        bytes = bytes.sliced(1);
}

void ServedSocket::finish()
{
    shutdown(m_socket, SHUT_WR);
    // What the other side still sends is taken in, or the kernel would answer it with a reset that
    // overtakes the reply.
    pollfd wait{.fd = m_socket, .events = POLLIN, .revents = 0};
    while (poll(&wait, 1, 2000) > 0 && !read(256 * 1024).isEmpty()) {
    }
}

void ServedSocket::resetAtClose()
{
    const linger none{.l_onoff = 1, .l_linger = 0};
    setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &none, sizeof(none));
}

void ServedSocket::waitForEnd()
{
    // Nothing is read meanwhile: the receive buffer stays as full as it is.
    pause(std::chrono::hours(1));
}

bool ServedSocket::pause(std::chrono::milliseconds duration)
{
    pollfd wait{.fd = m_socket, .events = POLLRDHUP, .revents = 0};
    return poll(&wait, 1, static_cast<int>(duration.count())) == 0;
}
// NOLINTEND(readability-make-member-function-const)

SocketServer::SocketServer(Script script, int port)
    : m_script(std::move(script))
    , m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    // A port of which old connections are still fading away can be had; one with a listener cannot.
    const int yes = 1;
    setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    if (bind(m_listener, generic, size) != 0 || listen(m_listener, 128) != 0 ||
        getsockname(m_listener, generic, &size) != 0) {
        if (port == 0)
            qFatal("no loopback port");
        return;
    }
    m_port = ntohs(address.sin_port);
    m_acceptThread = std::thread([this] { accept(); });
}

SocketServer::~SocketServer()
{
    shutdown(m_listener, SHUT_RDWR);
    if (m_acceptThread.joinable())
        m_acceptThread.join();
    close(m_listener);
    std::unique_lock lock(m_mutex);
    for (const int socket : m_open)
        shutdown(socket, SHUT_RDWR);
    m_served.wait(lock, [this] { return m_open.empty(); });
}

qsizetype SocketServer::connectionCount() const
{
    const std::scoped_lock lock(m_mutex);
    return m_count;
}

void SocketServer::accept()
{
    while (true) {
        const int socket = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0)
            return;
        const std::scoped_lock lock(m_mutex);
        m_open.insert(socket);
        ++m_count;
        std::thread([this, socket] { serve(socket); }).detach();
    }
}

void SocketServer::serve(int socket)
{
    m_script(ServedSocket(socket));
    const std::scoped_lock lock(m_mutex);
    m_open.erase(socket);
    close(socket);
    m_served.notify_all();
}
