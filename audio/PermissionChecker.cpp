#include "audio/PermissionChecker.h"

#include "base/Tasks.h"
#include "platform/CaptureAccess.h"
#include "platform/Workspace.h"

#include <QPointer>

namespace
{
constexpr int watchedChecks = 120;

PermissionStatus statusOf(MicrophoneAuthorization authorization)
{
    switch (authorization) {
    case MicrophoneAuthorization::notDetermined:
        return PermissionStatus::unknown;
    case MicrophoneAuthorization::restricted:
    case MicrophoneAuthorization::denied:
        return PermissionStatus::denied;
    case MicrophoneAuthorization::authorized:
        return PermissionStatus::granted;
    }
    Q_UNREACHABLE();
}
} // namespace

PermissionChecker::PermissionChecker(CaptureAccess &access, Workspace &workspace,
                                     std::chrono::milliseconds watchInterval, QObject *parent)
    : QObject(parent)
    , m_access(access)
    , m_workspace(workspace)
{
    m_screenGrantWatcher.setSingleShot(true);
    m_screenGrantWatcher.setInterval(watchInterval);
    connect(&m_screenGrantWatcher, &QTimer::timeout, this,
            [this] { runDetached(watchScreenGrant()); });
}

void PermissionChecker::refresh()
{
    m_mic = statusOf(m_access.microphoneAuthorization());
    if (m_access.canCaptureScreen()) {
        m_screen = PermissionStatus::granted;
        m_screenNeedsRestart = false;
    } else {
        // The sound server does not tell a refused request from one that was never made.
        m_screen = m_hasRequestedScreen ? PermissionStatus::denied : PermissionStatus::unknown;
    }
    Q_EMIT changed();
}

QCoro::Task<> PermissionChecker::reconsider()
{
    const QPointer self(this);
    co_await m_access.reconsider();
    if (self)
        refresh();
}

QCoro::Task<> PermissionChecker::requestMic()
{
    const QPointer self(this);
    co_await m_access.requestMicrophone();
    if (self)
        refresh();
}

QCoro::Task<> PermissionChecker::requestScreen()
{
    const QPointer self(this);
    const bool isGranted = co_await m_access.requestScreenCapture();
    if (!self)
        co_return; // the application is closing
    m_hasRequestedScreen = true;
    m_screen = isGranted ? PermissionStatus::granted : PermissionStatus::denied;
    m_screenNeedsRestart = !isGranted;
    Q_EMIT changed();
    if (isGranted) {
        m_checksLeft = 0; // what is granted here needs no restart
        co_return;
    }
    openScreenRecordingSettings();
    startScreenGrantWatcher();
}

void PermissionChecker::startScreenGrantWatcher()
{
    m_checksLeft = watchedChecks;
    m_screenGrantWatcher.start();
}

QCoro::Task<> PermissionChecker::watchScreenGrant()
{
    const QPointer self(this);
    co_await m_access.reconsider();
    if (!self || m_checksLeft == 0)
        co_return;
    if (m_access.canCaptureScreen()) {
        m_checksLeft = 0;
        restartApp();
    } else if (--m_checksLeft > 0) {
        m_screenGrantWatcher.start();
    }
}

void PermissionChecker::restartApp()
{
    const QPointer self(this);
    m_workspace.startNewInstance([self] {
        if (self)
            Q_EMIT self->leaveRequested();
    });
}

void PermissionChecker::openMicSettings()
{
    m_workspace.openSettings(SettingsPage::microphone);
}

void PermissionChecker::openScreenRecordingSettings()
{
    m_workspace.openSettings(SettingsPage::screenCapture);
}
