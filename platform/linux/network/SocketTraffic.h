#pragma once

#include <cstdint>
#include <vector>

/// The sockets that one request has open, and how much went over them.
///
/// Asks the kernel, because the program does not see the last megabytes of an upload leave: on a
/// slow line they take minutes from the socket's buffer to the other side.
class SocketTraffic
{
public:
    void add(int socket) { m_sockets.push_back(socket); }
    void remove(int socket) { std::erase(m_sockets, socket); }

    // The counts of the sockets that are still open.
    uint64_t acknowledgedBytes() const;
    uint64_t receivedBytes() const;

    /// Whether something has come in that nobody has read yet.
    bool hasInput() const;

private:
    std::vector<int> m_sockets;
};
