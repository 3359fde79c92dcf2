#include "platform/linux/workspace/LoginSleepInhibitor.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

using namespace Qt::StringLiterals;

namespace
{
// The lid takes no notice of a lock on sleep alone.
const auto sleepAndLid = u"sleep:handle-lid-switch"_s;
} // namespace

LoginSleepInhibitor::LoginSleepInhibitor(QDBusConnection systemBus)
    : m_bus(std::move(systemBus))
{
}

void LoginSleepInhibitor::setHeld(bool isHeld)
{
    m_isHeld = isHeld;
    if (!isHeld)
        m_lock = QDBusUnixFileDescriptor();
    else if (!m_lock.isValid() && !m_isAsking)
        request(sleepAndLid);
}

void LoginSleepInhibitor::request(const QString &what)
{
    auto message =
        QDBusMessage::createMethodCall(u"org.freedesktop.login1"_s, u"/org/freedesktop/login1"_s,
                                       u"org.freedesktop.login1.Manager"_s, u"Inhibit"_s);
    message << what << u"Parlovance"_s << u"正在录音"_s << u"block"_s;
    m_isAsking = true;
    auto *const watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, what] {
        const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *watcher;
        watcher->deleteLater();
        m_isAsking = false;
        if (!m_isHeld)
            return;
        if (reply.isValid())
            m_lock = reply.value();
        else if (what == sleepAndLid)
            request(u"sleep"_s); // the lid may be forbidden
    });
}
