#pragma once

#include "app/AppPlatform.h"
#include "app/UnixSignals.h"
#include "audio/PermissionChecker.h"
#include "cloud/AuthClient.h"
#include "cloud/UpdateChecker.h"
#include "core/AppState.h"
#include "ui/onboarding/OnboardingWindowController.h"
#include "ui/preferences/PreferencesWindowController.h"
#include "ui/tray/ClassicTray.h"
#include "ui/tray/StatusBarController.h"
#include "ui/tray/TrayGate.h"

#include <QCoroTask>
#include <QObject>

#include <chrono>
#include <memory>

/// Owns the long-lived objects of the application and connects them. Made once by main(), after the
/// toolkit's application object. Main thread.
///
/// However the application is left (menu, signal, end of the desktop session), a running recording
/// is stopped and kept first.
class AppDelegate : public QObject
{
    Q_OBJECT

public:
    /// \p second is what the counter of elapsed seconds takes for one.
    explicit AppDelegate(const AppPlatform &platform,
                         std::chrono::milliseconds second = std::chrono::seconds(1));

    /// Brings the application onto the desktop, with the window for new users where that was never
    /// finished, looks which recordings the service holds already, and somewhat later for a newer
    /// version.
    void applicationDidFinishLaunching();

    /// Takes addresses of the application's scheme: what the browser hands over after the sign-in.
    void open(const QStringList &addresses);

    /// Brings the panel to the front, also where no tray shows the icon; before a new user is
    /// through with it, the window for new users. While the application is leaving, another
    /// instance comes after it.
    void activate();

    /// Open the window, or bring it to the front.
    void showPreferences();
    void showOnboarding();

    AppState &appState() { return m_appState; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void createStatusBar();
    void holdOffSleep();
    void checkForUpdate();
    void dismissAutoRestoredSettingsWindows();
    QCoro::Task<> finishAndExit();

    const Logger m_logger{"app"};
    PrefsStore &m_prefs;
    const BundleInformation m_bundle;
    Workspace &m_workspace;
    SleepInhibitor &m_sleepInhibitor;
    const ConfiguredOrigin m_serviceOrigin;
    AppState m_appState;
    AuthClient m_auth;
    PermissionChecker m_perms;
    UpdateChecker m_updater;
    ClassicTray m_classicTray;
    TrayGate m_trayGate{&ClassicTray::isPresent};
    std::unique_ptr<StatusBarController> m_statusBar;             // from the launch on
    std::unique_ptr<PreferencesWindowController> m_preferencesWC; // both from their first use on
    std::unique_ptr<OnboardingWindowController> m_onboardingWC;
    UnixSignals m_signals;
    bool m_isLeaving = false;
    bool m_isWantedAgain = false; ///< activated while leaving
};
