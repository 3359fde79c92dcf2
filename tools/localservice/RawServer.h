#pragma once

#include <httplib.h>

#include <QByteArrayView>

#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>

/// The connection of the request that a thread of the server is busy with.
class Connection : public httplib::Stream
{
public:
    explicit Connection(int socket)
        : m_socket(socket)
    {
    }

    /// Sends \p bytes as they are. False when the other side is gone.
    bool send(QByteArrayView bytes);

    /// Ends the connection after what was sent; the library's own answer goes nowhere.
    void finish();

    /// Ends the connection as a broken network does: the other side gets a reset.
    void reset();

    bool is_readable() const override { return m_begin < m_end || !m_isOver; }
    bool is_writable() const override { return !m_isOver; }
    ssize_t read(char *target, size_t size) override;
    ssize_t write(const char *data, size_t size) override;
    void get_remote_ip_and_port(std::string &, int &) const override {}
    void get_local_ip_and_port(std::string &, int &) const override {}
    int socket() const override { return m_socket; }

private:
    int m_socket;
    bool m_isOver = false;
    // The library asks for four kilobytes at a time.
    std::array<char, 256 * 1024> m_buffer;
    size_t m_begin = 0;
    size_t m_end = 0;
};

/// A server whose handlers can get at the bare connection, and which stops at once. One request a
/// connection.
class RawServer : public httplib::Server
{
public:
    RawServer();

    /// Ends every connection and wakes whoever waits. Any thread but the server's own.
    void stopNow();

    /// The connection of the calling thread's request.
    static Connection &connection();

    /// Waits; false when the server stops meanwhile.
    bool pause(std::chrono::milliseconds duration);

private:
    bool process_and_close_socket(socket_t socket) override;

    std::mutex m_mutex;
    std::condition_variable m_stopping;
    bool m_isStopping = false; ///< under the mutex
    std::set<int> m_sockets;   ///< under the mutex
};
