#include "app/BusApplication.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDir>
#include <QEventLoop>
#include <QStandardPaths>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace
{
const auto name = u"com.parlovance.Parlovance"_s;
const auto path = u"/com/parlovance/Parlovance"_s;
const auto interface = u"org.freedesktop.Application"_s;

constexpr int answerLimitMilliseconds = 10'000;

/// Of one call. A sign-in returns with one; each one more costs a look at it and lines in the log.
constexpr qsizetype mostAddresses = 16;

/// Without a bus, too, there is one writer of the list of recordings.
QString lockPath()
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation))
        .filePath(u"parlovance.lock"_s);
}
} // namespace

BusApplication::BusApplication(QDBusConnection bus, QObject *parent)
    : QObject(parent)
    , m_bus(std::move(bus))
    , m_lock(lockPath())
{
    new BusApplicationInterface(*this);
    m_lock.setStaleLockTime(0); // for as long as the process lives
}

QStringList BusApplication::ownAddresses(const QStringList &addresses)
{
    QStringList own;
    for (const QString &address : addresses) {
        if (own.size() < mostAddresses && address.startsWith("parlovance:"_L1, Qt::CaseInsensitive))
            own.append(address);
    }
    return own;
}

/// The object first: a call that the bus held back for the name arrives at once.
bool BusApplication::registerName()
{
    m_bus.registerObject(path, this, QDBusConnection::ExportAdaptors);
    const auto reply =
        m_bus.interface()->registerService(name, QDBusConnectionInterface::DontQueueService,
                                           QDBusConnectionInterface::DontAllowReplacement);
    if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered)
        return true;
    m_bus.unregisterObject(path);
    return false;
}

/// Tells the instance that has the name, or that the bus starts for it. Whether it has answered.
bool BusApplication::handOn(const QStringList &addresses)
{
    auto message = QDBusMessage::createMethodCall(name, path, interface,
                                                  addresses.isEmpty() ? u"Activate"_s : u"Open"_s);
    if (!addresses.isEmpty())
        message << addresses;
    message << QVariantMap();
    const QDBusMessage answer = m_bus.call(message, QDBus::Block, answerLimitMilliseconds);
    return answer.type() == QDBusMessage::ReplyMessage;
}

BusApplication::Claim BusApplication::claim(const QStringList &addresses)
{
    if (!m_bus.isConnected())
        return m_lock.tryLock(0) ? Claim::first : Claim::notHanded;
    // An address may hold a token, which is not to stand in the command line of a process that
    // stays, nor of who waits for that: where the bus can, it starts the one instance.
    if (addresses.isEmpty() && registerName())
        return Claim::first;
    if (handOn(addresses))
        return Claim::handedOn;
    return registerName() ? Claim::first : Claim::notHanded;
}

bool BusApplication::succeed(std::chrono::seconds patience)
{
    if (!m_bus.isConnected())
        return m_lock.tryLock(static_cast<int>(std::chrono::milliseconds(patience).count()));
    QDBusServiceWatcher watcher(name, m_bus, QDBusServiceWatcher::WatchForUnregistration);
    QEventLoop waiting;
    connect(&watcher, &QDBusServiceWatcher::serviceUnregistered, &waiting, &QEventLoop::quit);
    QTimer::singleShot(patience, &waiting, &QEventLoop::quit);
    if (registerName())
        return true;
    waiting.exec();
    return registerName();
}

BusApplicationInterface::BusApplicationInterface(BusApplication &application)
    : QDBusAbstractAdaptor(&application)
    , m_application(application)
{
}

void BusApplicationInterface::Activate(const QVariantMap &)
{
    Q_EMIT m_application.activated();
}

void BusApplicationInterface::Open(const QStringList &uris, const QVariantMap &)
{
    const QStringList own = BusApplication::ownAddresses(uris);
    if (!own.isEmpty())
        Q_EMIT m_application.opened(own);
}

void BusApplicationInterface::ActivateAction(const QString &, const QVariantList &,
                                             const QVariantMap &)
{
    // The desktop entry names no actions.
}
