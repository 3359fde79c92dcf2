#pragma once

#include "cloud/ServiceOrigin.h"
#include "ui/windows/FixedWindow.h"

class AuthClient;
class OnboardingView;
class PermissionChecker;
class PrefsStore;

/// Owns the window of the onboarding, which is made once: closed and shown again it stands where it
/// was. Main thread.
class OnboardingWindowController
{
public:
    /// The references must outlive this object; \p origin is copied.
    OnboardingWindowController(AuthClient &auth, PermissionChecker &perms, PrefsStore &prefs,
                               const ConfiguredOrigin &origin);

    /// Shows the window in front of all others, with the keyboard.
    void showWindow() { m_window.bringToFront(); }

    QWidget &window() { return m_window; }

private:
    OnboardingView *const m_view; ///< of m_window, which owns it
    FixedWindow m_window;
};
