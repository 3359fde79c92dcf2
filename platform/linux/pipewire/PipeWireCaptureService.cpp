#include "platform/linux/pipewire/PipeWireCaptureService.h"

#include "base/Tasks.h"
#include "platform/linux/pipewire/PipeWireCaptureStream.h"

namespace
{
std::expected<QList<CaptureTarget>, Error> listSinks(PipeWireServer &server)
{
    const auto connection = server.connection();
    if (!connection)
        return std::unexpected(connection.error().error);
    return (*connection)->ask(&AudioGraph::sinks);
}
} // namespace

PipeWireCaptureService::PipeWireCaptureService(PipeWireServer &server, TrackOrigin &origin)
    : m_server(server)
    , m_origin(origin)
{
}

QCoro::Task<std::expected<QList<CaptureTarget>, Error>> PipeWireCaptureService::targets()
{
    PipeWireServer &server = m_server;
    const auto listing = inBackground([&server] { return listSinks(server); });
    co_return co_await listing;
}

std::unique_ptr<CaptureStream> PipeWireCaptureService::makeStream(const CaptureTarget &,
                                                                  const CaptureFormat &format)
{
    // Not tied to the target: the session manager links the stream to the default output, and goes
    // on doing so when the default changes.
    return std::make_unique<PipeWireCaptureStream>(m_server, m_origin, format);
}
