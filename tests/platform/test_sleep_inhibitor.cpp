#include "platform/linux/workspace/LoginSleepInhibitor.h"
#include "tests/support/PrivateBus.h"

#include <QDBusContext>
#include <QTest>

#include <array>

#include <poll.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{
/// The login manager: gives out the writing ends of pipes as locks.
class FakeLogin : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

public:
    FakeLogin()
    {
        m_bus.registerObject(u"/org/freedesktop/login1"_s, this, QDBusConnection::ExportAllSlots);
        m_bus.registerService(u"org.freedesktop.login1"_s);
    }
    ~FakeLogin() override
    {
        for (const int lock : m_locks)
            ::close(lock);
        QDBusConnection::disconnectFromBus(u"login"_s);
    }

    /// How many of the locks somebody still holds.
    qsizetype heldLocks() const
    {
        return std::ranges::count_if(m_locks, [](int lock) {
            pollfd end{.fd = lock, .events = POLLIN, .revents = 0};
            return ::poll(&end, 1, 0) == 0;
        });
    }

    QStringList requests;
    bool isLidForbidden = false;

public Q_SLOTS:
    // NOLINTNEXTLINE(readability-identifier-naming) the interface's own
    QDBusUnixFileDescriptor Inhibit(const QString &what, const QString &who, const QString &why,
                                    const QString &mode)
    {
        requests.append(QStringList{what, who, why, mode}.join(u' '));
        if (what != u"sleep"_s && isLidForbidden) {
            sendErrorReply(QDBusError::AccessDenied);
            return {};
        }
        std::array<int, 2> ends{};
        if (::pipe(ends.data()) != 0)
            return {};
        m_locks.append(ends[0]);
        const QDBusUnixFileDescriptor lock(ends[1]); // a duplicate
        ::close(ends[1]);
        return lock;
    }

private:
    QDBusConnection m_bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"login"_s);
    QList<int> m_locks;
};
} // namespace

class TestSleepInhibitor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void heldOnlyWhileAsked()
    {
        FakeLogin login;
        LoginSleepInhibitor inhibitor(QDBusConnection::sessionBus());
        inhibitor.setHeld(true);
        inhibitor.setHeld(true);
        QTRY_COMPARE(login.heldLocks(), 1);
        inhibitor.setHeld(false);
        QTRY_COMPARE(login.heldLocks(), 0);
        QCOMPARE(login.requests,
                 QStringList(u"sleep:handle-lid-switch Parlovance 正在录音 block"_s));

        // Given back before it has come; wanted again before that.
        inhibitor.setHeld(true);
        inhibitor.setHeld(false);
        QTRY_COMPARE(login.requests.size(), 2);
        QTRY_COMPARE(login.heldLocks(), 0);
        inhibitor.setHeld(true);
        inhibitor.setHeld(false);
        inhibitor.setHeld(true);
        QTRY_COMPARE(login.heldLocks(), 1);
        QCOMPARE(login.requests.size(), 3);
    }

    void endsWithTheProcessThatHeldIt()
    {
        FakeLogin login;
        auto inhibitor = std::make_unique<LoginSleepInhibitor>(QDBusConnection::sessionBus());
        inhibitor->setHeld(true);
        QTRY_COMPARE(login.heldLocks(), 1);
        inhibitor.reset();
        QTRY_COMPARE(login.heldLocks(), 0);
    }

private:
    PrivateBus m_bus;
};

QTEST_GUILESS_MAIN(TestSleepInhibitor)
#include "test_sleep_inhibitor.moc"
