#include "app/AppDelegate.h"

#include "base/Tasks.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPointer>

using namespace Qt::StringLiterals;

AppDelegate::AppDelegate(const AudioPlatform &platform, PrefsStore &prefs,
                         std::chrono::milliseconds second)
    : m_appState(platform, prefs, second)
{
    connect(&m_trayGate, &TrayGate::opened, this, &AppDelegate::showTrayIcon);
    connect(&m_signals, &UnixSignals::leaveRequested, qGuiApp, &QCoreApplication::quit);
    connect(qGuiApp, &QGuiApplication::commitDataRequest, this,
            [this] { runDetached(m_appState.finishForQuit()); });
    qGuiApp->installEventFilter(this);
}

void AppDelegate::applicationDidFinishLaunching()
{
    m_trayGate.wait();
}

void AppDelegate::showTrayIcon()
{
    m_trayIcon = std::make_unique<TrayIcon>(m_appState);
    connect(m_trayIcon.get(), &TrayIcon::quitRequested, qGuiApp, &QCoreApplication::quit);
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
    QCoreApplication::exit();
}
