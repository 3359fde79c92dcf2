#pragma once

#include <QCoroTask>
#include <QObject>
#include <QTimer>

#include <chrono>

class CaptureAccess;
class Workspace;

enum class PermissionStatus { granted, denied, unknown };

/// Whether the program may record the microphone and what the machine plays: what the views show
/// about it, and the ways to change it.
///
/// Owned by the application for the life of the process. Main thread.
class PermissionChecker : public QObject
{
    Q_OBJECT

public:
    /// The references must outlive this object and its requests. \p watchInterval is how often a
    /// refused access is looked at again.
    PermissionChecker(CaptureAccess &access, Workspace &workspace,
                      std::chrono::milliseconds watchInterval = std::chrono::milliseconds(500),
                      QObject *parent = nullptr);

    PermissionStatus mic() const { return m_mic; }

    /// The permission to capture what the machine plays.
    PermissionStatus screen() const { return m_screen; }

    /// Whether a granted access would only count after a restart: from a refused request until the
    /// access is seen granted.
    bool screenNeedsRestart() const { return m_screenNeedsRestart; }

    /// Reads both again. Asks nobody.
    void refresh();

    /// Looks whether what was refused is granted by now, then reads both again.
    QCoro::Task<> reconsider();

    /// Asks for the microphone, and reads both again.
    QCoro::Task<> requestMic();

    /// Asks for what the machine plays. Refused, the desktop's settings are opened and watched for
    /// a minute: an access that is granted there restarts the application.
    QCoro::Task<> requestScreen();

    void openMicSettings();
    void openScreenRecordingSettings();

    /// Starts a new instance of the application, and asks this one to leave whatever became of
    /// that.
    void restartApp();

Q_SIGNALS:
    void changed();
    void leaveRequested();

private:
    void startScreenGrantWatcher();
    QCoro::Task<> watchScreenGrant();

    CaptureAccess &m_access;
    Workspace &m_workspace;
    PermissionStatus m_mic = PermissionStatus::unknown;
    PermissionStatus m_screen = PermissionStatus::unknown;
    bool m_screenNeedsRestart = false;
    bool m_hasRequestedScreen = false;
    QTimer m_screenGrantWatcher;
    int m_checksLeft = 0; ///< of the watch; 0: nobody watches
};
