#include "platform/linux/pipewire/PipeWireServer.h"

std::expected<std::shared_ptr<PipeWireConnection>, ConnectionFailure> PipeWireServer::connection()
{
    const std::scoped_lock lock(m_mutex);
    if (auto shared = m_connection.lock(); shared && !shared->failure())
        return shared;
    auto opened = PipeWireConnection::open();
    if (opened)
        m_connection = *opened;
    return opened;
}
