#include "platform/linux/desktop/RememberedAccess.h"

#include "platform/CaptureService.h"
#include "platform/Defaults.h"
#include "platform/MicrophoneRecorder.h"

using namespace Qt::StringLiterals;

namespace
{
const auto microphoneKey = u"access.microphone"_s;
const auto screenKey = u"access.screen"_s;
} // namespace

RememberedAccess::RememberedAccess(Defaults &defaults, Microphones &microphones,
                                   CaptureService &captureService)
    : m_defaults(defaults)
    , m_microphones(microphones)
    , m_captureService(captureService)
{
}

MicrophoneAuthorization RememberedAccess::microphoneAuthorization() const
{
    const auto answer = m_defaults.boolean(microphoneKey);
    if (!answer)
        return MicrophoneAuthorization::notDetermined;
    return *answer ? MicrophoneAuthorization::authorized : MicrophoneAuthorization::denied;
}

QCoro::Task<bool> RememberedAccess::requestMicrophone()
{
    Defaults &defaults = m_defaults;
    const bool isGranted = co_await m_microphones.requestAccess();
    defaults.setBoolean(microphoneKey, isGranted);
    co_return isGranted;
}

bool RememberedAccess::canCaptureScreen() const
{
    return m_defaults.boolean(screenKey).value_or(false);
}

QCoro::Task<bool> RememberedAccess::requestScreenCapture()
{
    Defaults &defaults = m_defaults;
    const auto targets = co_await m_captureService.targets();
    defaults.setBoolean(screenKey, targets.has_value());
    co_return targets.has_value();
}
