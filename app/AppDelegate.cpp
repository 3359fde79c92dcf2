#include "app/AppDelegate.h"

#include "base/Tasks.h"
#include "platform/SleepInhibitor.h"
#include "platform/Workspace.h"
#include "settings/PrefsStore.h"
#include "ui/parts/AppNotifications.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPointer>
#include <QTimer>
#include <QWindow>

#include <iterator>

using namespace Qt::StringLiterals;

namespace
{
constexpr std::chrono::milliseconds restoredWindowsDelay{200};
constexpr std::chrono::seconds updateCheckDelay{5};
constexpr qsizetype loggedAddressLength = std::size("parlovance://auth") - 1;
} // namespace

AppDelegate::AppDelegate(const AppPlatform &platform, std::chrono::milliseconds second)
    : m_prefs(platform.prefs)
    , m_bundle(platform.bundle)
    , m_workspace(platform.workspace)
    , m_sleepInhibitor(platform.sleepInhibitor)
    , m_serviceOrigin(platform.serviceOrigin)
    , m_appState(platform.audio, MediaUploader(platform.serviceOrigin, platform.http),
                 platform.prefs, second)
    , m_auth(platform.serviceOrigin, platform.http, platform.secrets, platform.workspace)
    , m_perms(platform.access, platform.workspace)
    , m_updater(platform.serviceOrigin, platform.bundle,
                {.http = platform.http,
                 .workspace = platform.workspace,
                 .clock = platform.audio.clock,
                 .alert = platform.alert})
{
    if (!platform.serviceOrigin)
        m_logger.error(u"service origin: "_s + platform.serviceOrigin.error().description());
    connect(&m_appState, &AppState::stateChanged, this, &AppDelegate::holdOffSleep);
    connect(&m_signals, &UnixSignals::leaveRequested, qGuiApp, &QCoreApplication::quit);
    connect(&m_perms, &PermissionChecker::leaveRequested, qGuiApp, &QCoreApplication::quit);
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this,
            [this](Qt::ApplicationState state) {
                if (state == Qt::ApplicationActive)
                    runDetached(m_perms.reconsider());
            });
    qGuiApp->installEventFilter(this);
}

void AppDelegate::applicationDidFinishLaunching()
{
    m_appState.setAuth(&m_auth);
    runDetached(m_appState.recoverRecordings());
    m_perms.refresh();
    createStatusBar();
    auto &notifications = AppNotifications::shared();
    connect(&notifications, &AppNotifications::parlovanceOpenOnboarding, this,
            &AppDelegate::showOnboarding, Qt::QueuedConnection);
    connect(&notifications, &AppNotifications::parlovanceOpenPreferences, this,
            &AppDelegate::showPreferences, Qt::QueuedConnection);
    if (!m_prefs.hasCompletedOnboarding())
        showOnboarding();
    QTimer::singleShot(restoredWindowsDelay, this,
                       &AppDelegate::dismissAutoRestoredSettingsWindows);
    QTimer::singleShot(updateCheckDelay, this, &AppDelegate::checkForUpdate);
}

void AppDelegate::open(const QStringList &addresses)
{
    for (const QString &address : addresses) {
        // Log only the part before the question mark: a token may follow it.
        m_logger.info(u"open url: "_s + address.section(u'?', 0, 0).left(loggedAddressLength));
        m_auth.handleCallback(address);
    }
    if (!addresses.isEmpty())
        m_appState.startReconcile();
}

void AppDelegate::activate()
{
    if (m_isLeaving)
        m_isWantedAgain = true;
    else if (m_onboardingWC && !m_prefs.hasCompletedOnboarding())
        showOnboarding();
    else
        m_statusBar->showPanel();
}

void AppDelegate::showPreferences()
{
    if (!m_preferencesWC) {
        m_preferencesWC = std::make_unique<PreferencesWindowController>(
            m_auth, m_perms, m_updater, m_prefs, m_bundle, m_workspace, m_serviceOrigin);
    }
    m_preferencesWC->showWindow();
}

void AppDelegate::showOnboarding()
{
    if (!m_onboardingWC) {
        m_onboardingWC =
            std::make_unique<OnboardingWindowController>(m_auth, m_perms, m_prefs, m_serviceOrigin);
    }
    m_onboardingWC->showWindow();
}

void AppDelegate::checkForUpdate()
{
    runDetached(m_updater.check(true));
}

// A settings window that the desktop restores from the last session belongs to no controller of
// this one.
void AppDelegate::dismissAutoRestoredSettingsWindows()
{
    const QString name = m_bundle.name().value_or(u"Parlovance"_s);
    const QStringList titles{name + u" Settings"_s, name + u" 设置"_s, name + u"设置"_s};
    const QWindowList windows = QGuiApplication::topLevelWindows();
    for (QWindow *const window : windows) {
        if (titles.contains(window->title()))
            window->close();
    }
}

void AppDelegate::createStatusBar()
{
    m_statusBar = std::make_unique<StatusBarController>(
        m_appState, m_auth, [this] { showPreferences(); }, [this] { showOnboarding(); },
        m_workspace, m_serviceOrigin);
    connect(&m_trayGate, &TrayGate::opened, m_statusBar.get(), &StatusBarController::showIcon);
    connect(&m_classicTray, &ClassicTray::arrived, &m_trayGate, &TrayGate::giveGrace);
    m_trayGate.wait();
}

// While recording, and only then.
void AppDelegate::holdOffSleep()
{
    m_sleepInhibitor.setHeld(m_appState.state() != RecordingState::idle);
}

// Every way of leaving ends in this one event of the toolkit.
bool AppDelegate::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != qGuiApp || event->type() != QEvent::Quit)
        return QObject::eventFilter(watched, event);
    event->ignore();
    if (!m_isLeaving)
        runDetached(finishAndExit());
    return true;
}

QCoro::Task<> AppDelegate::finishAndExit()
{
    m_isLeaving = true;
    const QPointer self(this);
    co_await m_appState.finishForQuit();
    if (!self)
        co_return;
    m_logger.info(u"leaving"_s);
    if (m_isWantedAgain)
        m_workspace.startNewInstance([] { QCoreApplication::exit(); });
    else
        QCoreApplication::exit();
}
