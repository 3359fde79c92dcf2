#pragma once

#include "cloud/ServiceOrigin.h"
#include "platform/BundleInformation.h"
#include "ui/preferences/FolderChooser.h"
#include "ui/windows/FixedWindow.h"

class AuthClient;
class PermissionChecker;
class PrefsStore;
class UpdateChecker;
class Workspace;

/// Owns the window of the preferences, which is made once: closed and shown again it is as it was.
/// Main thread.
class PreferencesWindowController
{
public:
    /// The references must outlive this object; the rest is copied.
    PreferencesWindowController(AuthClient &auth, PermissionChecker &perms, UpdateChecker &updater,
                                PrefsStore &prefs, const BundleInformation &bundle,
                                Workspace &workspace, const ConfiguredOrigin &origin,
                                const FolderChooser &chooser = &chooseFolder);

    /// Shows the window in front of all others, with the keyboard.
    void showWindow() { m_window.bringToFront(); }

    QWidget &window() { return m_window; }

private:
    FixedWindow m_window;
};
