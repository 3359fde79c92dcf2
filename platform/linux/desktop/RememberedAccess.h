#pragma once

#include "platform/CaptureAccess.h"

class CaptureService;
class Defaults;
class Microphones;

/// The sound server decides at each request; what it said is remembered for later launches.
class RememberedAccess : public CaptureAccess
{
public:
    /// The references must outlive this object and its requests.
    RememberedAccess(Defaults &defaults, Microphones &microphones, CaptureService &captureService);

    MicrophoneAuthorization microphoneAuthorization() const override;
    QCoro::Task<bool> requestMicrophone() override;

    bool canCaptureScreen() const override;
    QCoro::Task<bool> requestScreenCapture() override;

private:
    Defaults &m_defaults;
    Microphones &m_microphones;
    CaptureService &m_captureService;
};
