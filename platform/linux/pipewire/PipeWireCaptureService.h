#pragma once

#include "platform/CaptureService.h"
#include "platform/linux/pipewire/PipeWireServer.h"
#include "platform/linux/pipewire/TrackOrigin.h"

/// Captures what the outputs of the sound server play.
class PipeWireCaptureService : public CaptureService
{
public:
    /// \p server and \p origin are shared with the microphones, and outlive this.
    PipeWireCaptureService(PipeWireServer &server, TrackOrigin &origin);

    QCoro::Task<std::expected<QList<CaptureTarget>, Error>> targets() override;
    std::unique_ptr<CaptureStream> makeStream(const CaptureTarget &target,
                                              const CaptureFormat &format) override;

private:
    PipeWireServer &m_server;
    TrackOrigin &m_origin;
};
