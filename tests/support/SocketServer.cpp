#include "tests/support/SocketServer.h"

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

void ServedSocket::send(const QByteArray &bytes)
{
    qsizetype sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count = ::send(m_socket, bytes.constData() + sent,
                                     static_cast<size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (count <= 0)
            return;
        sent += count;
    }
}

void ServedSocket::drip(const QByteArray &bytes, std::chrono::milliseconds interval)
{
    for (const char byte : bytes) {
        send(QByteArray(1, byte));
        std::this_thread::sleep_for(interval);
    }
}

void ServedSocket::resetAtClose()
{
    const linger none{.l_onoff = 1, .l_linger = 0};
    setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &none, sizeof(none));
}
// NOLINTEND(readability-make-member-function-const)

void ServedSocket::waitForEnd()
{
    // Nothing is read meanwhile: the receive buffer stays as full as it is.
    pollfd wait{.fd = m_socket, .events = POLLRDHUP, .revents = 0};
    poll(&wait, 1, -1);
}

SocketServer::SocketServer(Script script)
    : m_script(std::move(script))
    , m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    if (bind(m_listener, generic, size) != 0 || listen(m_listener, 128) != 0 ||
        getsockname(m_listener, generic, &size) != 0)
        qFatal("no loopback port");
    m_port = ntohs(address.sin_port);
    m_acceptThread = std::thread([this] { accept(); });
}

SocketServer::~SocketServer()
{
    shutdown(m_listener, SHUT_RDWR);
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
