#include "ui/tray/TrayGate.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <utility>

using namespace Qt::StringLiterals;

namespace
{

// Named by the StatusNotifierItem specification; the name with "kde" is the one in use everywhere.
const auto watcherService = u"org.kde.StatusNotifierWatcher"_s;
const auto watcherPath = u"/StatusNotifierWatcher"_s;
const auto watcherInterface = u"org.kde.StatusNotifierWatcher"_s;

} // namespace

TrayGate::TrayGate(std::function<bool()> hasClassicTray, std::chrono::milliseconds grace,
                   QObject *parent)
    : QObject(parent)
    , m_hasClassicTray(std::move(hasClassicTray))
{
    m_grace.setInterval(grace);
    m_grace.setSingleShot(true);
    connect(&m_grace, &QTimer::timeout, this, [this] {
        if (m_hasClassicTray())
            open(false);
    });
}

void TrayGate::wait()
{
    auto bus = QDBusConnection::sessionBus();
    auto *const arrivals = new QDBusServiceWatcher(watcherService, bus,
                                                   QDBusServiceWatcher::WatchForRegistration, this);
    connect(arrivals, &QDBusServiceWatcher::serviceRegistered, this, &TrayGate::askForHost);
    bus.connect(watcherService, watcherPath, watcherInterface, u"StatusNotifierHostRegistered"_s,
                this, SLOT(askForHost()));
    giveGrace();
    askForHost();
}

void TrayGate::giveGrace()
{
    if (!m_isOpen && !m_grace.isActive())
        m_grace.start();
}

void TrayGate::askForHost()
{
    if (m_isOpen)
        return;
    auto question = QDBusMessage::createMethodCall(watcherService, watcherPath,
                                                   u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    question << watcherInterface << u"IsStatusNotifierHostRegistered"_s;
    question.setAutoStartService(false);
    auto *const answer =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, &TrayGate::hostAnswered);
}

void TrayGate::hostAnswered(QDBusPendingCallWatcher *answer)
{
    const QDBusPendingReply<QDBusVariant> reply = *answer;
    answer->deleteLater();
    if (!reply.isError() && reply.value().variant().toBool())
        open(true);
}

void TrayGate::open(bool isOnTheBus)
{
    if (m_isOpen)
        return;
    m_isOpen = true;
    m_grace.stop();
    Q_EMIT opened(isOnTheBus);
}
