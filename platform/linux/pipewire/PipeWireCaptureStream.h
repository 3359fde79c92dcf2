#pragma once

#include "platform/CaptureService.h"
#include "platform/linux/pipewire/PipeWireServer.h"
#include "platform/linux/pipewire/TrackOrigin.h"

#include <memory>

class CaptureTrack;

/// Captures the default output's monitor, and follows the default when it changes.
///
/// The sound of this process is left out because there is none: the program plays nothing.
class PipeWireCaptureStream : public CaptureStream
{
public:
    /// \p server and \p origin outlive the stream.
    PipeWireCaptureStream(PipeWireServer &server, TrackOrigin &origin, const CaptureFormat &format);
    ~PipeWireCaptureStream() override;

    std::expected<void, Error> deliverTo(CaptureListener &listener,
                                         const QString &queueName) override;
    QCoro::Task<std::expected<void, Error>> start() override;
    QCoro::Task<> stop() override;

private:
    struct Capture;

    PipeWireServer &m_server;
    TrackOrigin &m_origin;
    const CaptureFormat m_format;
    std::shared_ptr<Capture> m_capture; ///< null before deliverTo()
    bool m_isStopped = false;
};
