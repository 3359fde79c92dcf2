#include "platform/linux/network/SocketTraffic.h"

// The C library's own header of this name lacks the byte counts.
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>

namespace
{
template<class Count>
uint64_t sum(const std::vector<int> &sockets, Count tcp_info::*count)
{
    uint64_t total = 0;
    for (const int socket : sockets) {
        tcp_info info{};
        socklen_t size = sizeof(info);
        if (getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) == 0)
            total += info.*count;
    }
    return total;
}
} // namespace

uint64_t SocketTraffic::acknowledgedBytes() const
{
    return sum(m_sockets, &tcp_info::tcpi_bytes_acked);
}

uint64_t SocketTraffic::receivedBytes() const
{
    return sum(m_sockets, &tcp_info::tcpi_bytes_received);
}

bool SocketTraffic::hasInput() const
{
    return std::ranges::any_of(m_sockets, [](int socket) {
        char byte = 0;
        return recv(socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) > 0;
    });
}
