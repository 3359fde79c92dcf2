#pragma once

#include "platform/CaptureAccess.h"
#include "platform/CaptureService.h"
#include "platform/MicrophoneRecorder.h"

class Defaults;

/// The sound server decides at each request; what it said is remembered for later launches.
/// Recordings ask it, too, so they take their microphones and their capture service from here.
class RememberedAccess : public CaptureAccess, public Microphones, public CaptureService
{
public:
    /// The references must outlive this object and its requests.
    RememberedAccess(Defaults &defaults, Microphones &microphones, CaptureService &captureService);

    MicrophoneAuthorization microphoneAuthorization() const override;
    QCoro::Task<bool> requestMicrophone() override { return requestAccess(); }

    bool canCaptureScreen() const override;
    QCoro::Task<bool> requestScreenCapture() override;

    QCoro::Task<> reconsider() override;

    QCoro::Task<bool> requestAccess() override;
    QCoro::Task<std::expected<std::unique_ptr<MicrophoneRecorder>, Error>>
    create(QString path, AudioEncoding encoding) override;

    QCoro::Task<std::expected<QList<CaptureTarget>, Error>> targets() override;
    std::unique_ptr<CaptureStream> makeStream(const CaptureTarget &target,
                                              const CaptureFormat &format) override;

private:
    Defaults &m_defaults;
    Microphones &m_microphones;
    CaptureService &m_captureService;
};
