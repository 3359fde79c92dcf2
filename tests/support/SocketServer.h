#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <set>
#include <thread>

/// A connection as its server sees it. It closes when the script returns.
class ServedSocket
{
public:
    explicit ServedSocket(int socket)
        : m_socket(socket)
    {
    }

    /// The request up to the empty line; what came of the body is in it as well.
    QByteArray readHead();

    /// At most \p limit bytes; empty at the end.
    QByteArray read(qsizetype limit);
    void readToEnd();

    void send(const QByteArray &bytes);

    /// A byte every \p interval.
    void drip(const QByteArray &bytes, std::chrono::milliseconds interval);

    /// Lets the close arrive as a reset.
    void resetAtClose();

    /// Waits until the other side closes or the server stops.
    void waitForEnd();

private:
    int m_socket;
};

/// A TCP server on a loopback port that plays a script for every connection, on a thread each.
class SocketServer
{
public:
    using Script = std::function<void(ServedSocket)>;

    explicit SocketServer(Script script);
    ~SocketServer();

    SocketServer(const SocketServer &) = delete;
    SocketServer &operator=(const SocketServer &) = delete;

    int port() const { return m_port; }
    QString origin() const { return QStringLiteral("http://127.0.0.1:%1").arg(m_port); }
    qsizetype connectionCount() const;

private:
    void accept();
    void serve(int socket);

    Script m_script;
    int m_listener;
    int m_port = 0;
    mutable std::mutex m_mutex;
    std::condition_variable m_served;
    std::set<int> m_open;  ///< under the mutex
    qsizetype m_count = 0; ///< under the mutex
    std::thread m_acceptThread;
};
