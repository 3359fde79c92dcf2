#pragma once

#include "platform/linux/pipewire/PipeWireConnection.h"

#include <memory>
#include <mutex>

/// Where the capture service and the microphones get their connection: everything that is used at
/// the same time shares one, and nothing stays connected when nobody uses it. Any thread.
class PipeWireServer
{
public:
    /// The connection in use, or a new one when there is none or its server has gone. May wait a
    /// few seconds: not on the main thread.
    std::expected<std::shared_ptr<PipeWireConnection>, ConnectionFailure> connection();

private:
    std::mutex m_mutex;
    std::weak_ptr<PipeWireConnection> m_connection;
};
