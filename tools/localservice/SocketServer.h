#pragma once

#include <QByteArray>
#include <QByteArrayView>
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

    /// False when the other side is gone.
    bool send(QByteArrayView bytes);

    /// A byte every \p interval.
    void drip(QByteArrayView bytes, std::chrono::milliseconds interval);

    /// Ends our side and waits a moment for the end of the other.
    void finish();

    /// Lets the close arrive as a reset.
    void resetAtClose();

    /// Waits until the other side closes or the server stops.
    void waitForEnd();

    /// Waits that long; false when the other side closes or the server stops meanwhile.
    bool pause(std::chrono::milliseconds duration);

private:
    int m_socket;
};

/// A TCP server on a loopback port that plays a script for every connection, on a thread each.
class SocketServer
{
public:
    using Script = std::function<void(ServedSocket)>;

    /// Port 0: any free one.
    explicit SocketServer(Script script, int port = 0);

    /// Ends every connection, and waits for the scripts.
    ~SocketServer();

    SocketServer(const SocketServer &) = delete;
    SocketServer &operator=(const SocketServer &) = delete;

    /// 0: the port that was asked for is taken.
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
