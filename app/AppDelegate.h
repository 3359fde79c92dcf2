#pragma once

#include "app/UnixSignals.h"
#include "core/AppState.h"
#include "ui/TrayGate.h"
#include "ui/TrayIcon.h"

#include <QCoroTask>
#include <QObject>

#include <chrono>
#include <memory>

class PrefsStore;

/// Owns the long-lived objects of the application and connects them. Made once by main(), after the
/// toolkit's application object. Main thread.
///
/// However the application is left (menu, signal, end of the desktop session), a running recording
/// is stopped and kept first.
class AppDelegate : public QObject
{
    Q_OBJECT

public:
    /// The platform objects and \p prefs must outlive this one. \p second is what the counter of
    /// elapsed seconds takes for one.
    AppDelegate(const AudioPlatform &platform, PrefsStore &prefs,
                std::chrono::milliseconds second = std::chrono::seconds(1));

    /// Brings the application onto the desktop.
    void applicationDidFinishLaunching();

    AppState &appState() { return m_appState; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void showTrayIcon();
    QCoro::Task<> finishAndExit();

    const Logger m_logger{"app"};
    AppState m_appState;
    TrayGate m_trayGate;
    std::unique_ptr<TrayIcon> m_trayIcon;
    UnixSignals m_signals;
    bool m_isLeaving = false;
};
