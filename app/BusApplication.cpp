#include "app/BusApplication.h"

#include "base/PrivateFolder.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <QTimer>

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
const auto name = u"com.parlovance.Parlovance"_s;
const auto path = u"/com/parlovance/Parlovance"_s;
const auto interface = u"org.freedesktop.Application"_s;

constexpr int answerLimitMilliseconds = 10'000;
constexpr auto patienceWithTheLock = 1s; ///< of an instance that has just given its name back

/// Of one call. A sign-in returns with one; each one more costs a look at it and lines in the log.
constexpr qsizetype mostAddresses = 16;
} // namespace

BusApplication::BusApplication(const QString &lockPath, QDBusConnection bus, QObject *parent)
    : QObject(parent)
    , m_bus(std::move(bus))
    , m_lockPath(lockPath)
{
    new BusApplicationInterface(*this);
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

/// The kernel gives the lock back, however the process ends. Where the file system knows no locks,
/// nobody holds one.
bool BusApplication::lock(std::chrono::milliseconds patience)
{
    (void)makePrivateFolder(QFileInfo(m_lockPath).path()); // otherwise the next step fails
    m_lock = FileDescriptor(::open(QFile::encodeName(m_lockPath).constData(),
                                   O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    const QDeadlineTimer limit(patience);
    while (m_lock.isOpen() && ::flock(m_lock.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK)
            return true;
        if (limit.hasExpired())
            return false;
        QThread::msleep(20);
    }
    return true;
}

BusApplication::Claim BusApplication::claim(const QStringList &addresses)
{
    const auto first = [this] {
        return lock(patienceWithTheLock) ? Claim::first : Claim::elsewhere;
    };
    if (!m_bus.isConnected())
        return first();
    // An address may hold a token, which is not to stand in the command line of a process that
    // stays, nor of who waits for that: where the bus can, it starts the one instance.
    if (addresses.isEmpty() && registerName())
        return first();
    if (handOn(addresses))
        return Claim::handedOn;
    return registerName() ? first() : Claim::notHanded;
}

bool BusApplication::succeed(std::chrono::seconds patience)
{
    if (!m_bus.isConnected())
        return lock(patience);
    QDBusServiceWatcher watcher(name, m_bus, QDBusServiceWatcher::WatchForUnregistration);
    QEventLoop waiting;
    connect(&watcher, &QDBusServiceWatcher::serviceUnregistered, &waiting, &QEventLoop::quit);
    QTimer::singleShot(patience, &waiting, &QEventLoop::quit);
    if (registerName())
        return lock(patience);
    waiting.exec();
    return registerName() && lock(patience);
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
