#include "platform/linux/pipewire/PipeWireMicrophones.h"

#include "base/Tasks.h"
#include "platform/linux/pipewire/PipeWireMicrophoneRecorder.h"

using namespace Qt::StringLiterals;

namespace
{
bool isAllowed(PipeWireServer &server)
{
    const auto connection = server.connection();
    return connection || !connection.error().isRefused;
}

std::expected<void, Error> findMicrophone(PipeWireServer &server)
{
    const auto connection = server.connection();
    if (!connection)
        return std::unexpected(connection.error().error);
    if (const auto microphone = (*connection)->defaultMicrophone(); !microphone)
        return std::unexpected(microphone.error());
    return {};
}
} // namespace

PipeWireMicrophones::PipeWireMicrophones(PipeWireServer &server, TrackOrigin &origin,
                                         AudioFileWriterFactory &writers)
    : m_server(server)
    , m_origin(origin)
    , m_writers(writers)
{
}

QCoro::Task<bool> PipeWireMicrophones::requestAccess()
{
    PipeWireServer &server = m_server;
    const auto asking = inBackground([&server] { return isAllowed(server); });
    co_return co_await asking;
}

QCoro::Task<std::expected<std::unique_ptr<MicrophoneRecorder>, Error>>
PipeWireMicrophones::create(QString path, AudioEncoding encoding)
{
    PipeWireServer &server = m_server;
    TrackOrigin &origin = m_origin;
    AudioFileWriterFactory &writers = m_writers;
    const auto looking = inBackground([&server] { return findMicrophone(server); });
    const auto found = co_await looking;
    if (!found)
        co_return std::unexpected(found.error());
    auto writer = writers.create(path);
    if (!writer)
        co_return std::unexpected(writer.error());
    std::unique_ptr<MicrophoneRecorder> recorder =
        std::make_unique<PipeWireMicrophoneRecorder>(server, origin, std::move(*writer), encoding);
    co_return recorder;
}
