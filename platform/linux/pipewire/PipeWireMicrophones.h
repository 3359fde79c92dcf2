#pragma once

#include "platform/MicrophoneRecorder.h"
#include "platform/linux/pipewire/PipeWireServer.h"
#include "platform/linux/pipewire/TrackOrigin.h"

/// The inputs of the sound server.
class PipeWireMicrophones : public Microphones
{
public:
    /// \p server and \p origin are shared with the capture service; all three outlive this and the
    /// recorders.
    PipeWireMicrophones(PipeWireServer &server, TrackOrigin &origin,
                        AudioFileWriterFactory &writers);

    /// The sound server decides: false when it refuses us. When it is not there at all nobody
    /// refused anything, and create() says what is wrong.
    QCoro::Task<bool> requestAccess() override;

    QCoro::Task<std::expected<std::unique_ptr<MicrophoneRecorder>, Error>>
    create(QString path, AudioEncoding encoding) override;

private:
    PipeWireServer &m_server;
    TrackOrigin &m_origin;
    AudioFileWriterFactory &m_writers;
};
