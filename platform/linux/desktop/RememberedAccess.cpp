#include "platform/linux/desktop/RememberedAccess.h"

#include "platform/Defaults.h"

#include <utility>

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

QCoro::Task<bool> RememberedAccess::requestAccess()
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
    const auto found = co_await m_captureService.targets();
    defaults.setBoolean(screenKey, found.has_value());
    co_return found.has_value();
}

QCoro::Task<> RememberedAccess::reconsider()
{
    if (m_defaults.boolean(microphoneKey) == false)
        co_await requestAccess();
    if (m_defaults.boolean(screenKey) == false)
        co_await requestScreenCapture();
}

QCoro::Task<std::expected<std::unique_ptr<MicrophoneRecorder>, Error>>
RememberedAccess::create(QString path, AudioEncoding encoding)
{
    return m_microphones.create(std::move(path), encoding);
}

QCoro::Task<std::expected<QList<CaptureTarget>, Error>> RememberedAccess::targets()
{
    Defaults &defaults = m_defaults;
    auto found = co_await m_captureService.targets();
    // An access that was refused is watched, and counts after a restart only.
    if (found && !defaults.boolean(screenKey))
        defaults.setBoolean(screenKey, true);
    co_return found;
}

std::unique_ptr<CaptureStream> RememberedAccess::makeStream(const CaptureTarget &target,
                                                            const CaptureFormat &format)
{
    return m_captureService.makeStream(target, format);
}
