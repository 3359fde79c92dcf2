#include "cloud/Keychain.h"
#include "platform/linux/secrets/SecretItems.h"
#include "platform/linux/secrets/SecretServiceStore.h"
#include "tests/support/FakeDefaults.h"
#include "tests/support/PrivateBus.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{

const QString service = u"com.parlovance.mac"_s;
const QString key = u"session"_s;
/// With a service that answers, on a machine with other work.
constexpr auto patience = 1s;
const QString daemonName = u"org.freedesktop.secrets"_s;

bool isOnTheBus()
{
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(daemonName);
}

/// A real daemon on the private bus, with its keyring in \p folder.
class SecretDaemon
{
public:
    /// Unlocked with the user's password, as at log-in.
    explicit SecretDaemon(const QString &folder)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const QString &name : {u"HOME"_s, u"XDG_DATA_HOME"_s, u"XDG_RUNTIME_DIR"_s})
            environment.insert(name, folder);
        m_process.setProcessEnvironment(environment);
        m_process.start(u"gnome-keyring-daemon"_s,
                        {u"--foreground"_s, u"--components=secrets"_s, u"--unlock"_s});
        m_process.write("password");
        m_process.closeWriteChannel();
        if (!QTest::qWaitFor([] { return isOnTheBus(); }, 10'000))
            qFatal("no secret service");
    }
    ~SecretDaemon()
    {
        signal(SIGCONT);
        kill();
    }
    SecretDaemon(const SecretDaemon &) = delete;
    SecretDaemon &operator=(const SecretDaemon &) = delete;

    void signal(int number) const { ::kill(static_cast<pid_t>(m_process.processId()), number); }

    void kill()
    {
        m_process.kill();
        m_process.waitForFinished();
        if (!QTest::qWaitFor([] { return !isOnTheBus(); }, 10'000))
            qFatal("the secret service stays");
    }

private:
    QProcess m_process;
};

/// Where the daemon has the user asked for a password; never gives one.
class Prompter : public QDBusVirtualObject
{
public:
    Prompter()
    {
        QDBusConnection::sessionBus().registerVirtualObject(u"/org/gnome/keyring/Prompter"_s, this);
        QDBusConnection::sessionBus().registerService(u"org.gnome.keyring.SystemPrompter"_s);
    }
    ~Prompter() override
    {
        QDBusConnection::sessionBus().unregisterService(u"org.gnome.keyring.SystemPrompter"_s);
    }
    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &, const QDBusConnection &) override
    {
        isAsked = true;
        return false;
    }
    bool isAsked = false;
};

using Attributes = QMap<QString, QString>;

/// How many items another program of the user's sees.
qsizetype itemsWith(const Attributes &attributes)
{
    QDBusMessage search =
        QDBusMessage::createMethodCall(daemonName, u"/org/freedesktop/secrets"_s,
                                       u"org.freedesktop.Secret.Service"_s, u"SearchItems"_s);
    search << QVariant::fromValue(attributes);
    const QDBusReply<QList<QDBusObjectPath>> unlocked = QDBusConnection::sessionBus().call(search);
    return unlocked.isValid() ? unlocked.value().size() : -1;
}

/// As another program of the user's may do.
void lock()
{
    QDBusMessage lock = QDBusMessage::createMethodCall(
        daemonName, u"/org/freedesktop/secrets"_s, u"org.freedesktop.Secret.Service"_s, u"Lock"_s);
    lock << QVariant::fromValue(
        QList{QDBusObjectPath(u"/org/freedesktop/secrets/collection/login"_s)});
    QDBusConnection::sessionBus().call(lock);
}

qint64 millisecondsOf(const std::function<void()> &work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return timer.elapsed();
}

} // namespace

/// The secret store with a real daemon, without one, and with one that dies or hangs.
class TestSecretStore : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<PrivateBus> m_bus;
    FakeDefaults m_defaults;

private Q_SLOTS:
    void initTestCase()
    {
        qDBusRegisterMetaType<Attributes>();
        m_bus = std::make_unique<PrivateBus>();
        QVERIFY(m_bus->isRunning());
    }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_defaults = FakeDefaults();
    }

    void keepsTexts()
    {
        const SecretDaemon daemon(m_folder->path());
        SecretServiceStore store(m_defaults, patience);
        QVERIFY(!store.find(service, key));
        store.remove(service, key);

        const QString value = u"{\"token\":\"会议 %1\"}"_s.arg(QString(100'000, u'x'));
        store.add(service, key, u"first"_s);
        store.remove(service, key);
        store.add(service, key, value);
        QCOMPARE(store.find(service, key), value);
        store.add(service, u"other"_s, u""_s);
        QCOMPARE(store.find(service, u"other"_s), u""_s);
        QVERIFY(!store.find(u"com.example.other"_s, key));

        // A new run of the program finds it, too.
        QCOMPARE(SecretServiceStore(m_defaults, patience).find(service, key), value);
        store.remove(service, key);
        QVERIFY(!store.find(service, key));
        QVERIFY(store.find(service, u"other"_s));
    }

    void withoutAServiceEverythingIsSilent()
    {
        SecretServiceStore store(m_defaults, patience);
        QVERIFY(millisecondsOf([&] {
                    store.add(service, key, u"lost"_s);
                    QVERIFY(!store.find(service, key));
                    store.remove(service, key);
                    QVERIFY(!store.find(service, key));
                }) < 1500);
    }

    void outlivesTheDaemon()
    {
        SecretServiceStore store(m_defaults, patience);
        {
            SecretDaemon daemon(m_folder->path());
            store.add(service, key, u"kept"_s);
            QCOMPARE(store.find(service, key), u"kept"_s);
            daemon.kill();
            QVERIFY(!store.find(service, key));
        }
        const SecretDaemon next(m_folder->path());
        QCOMPARE(store.find(service, key), u"kept"_s);
    }

    void lockedKeyringDoesNotHoldUp()
    {
        Prompter prompter;
        const SecretDaemon daemon(m_folder->path());
        auto store = std::make_unique<SecretServiceStore>(m_defaults, patience);
        store->add(service, key, u"locked"_s);
        QVERIFY(store->find(service, key));
        lock();
        QVERIFY(millisecondsOf([&] { QVERIFY(!store->find(service, key)); }) < 2000);
        store->add(service, key, u"new"_s);
        QVERIFY(millisecondsOf([&] { store.reset(); }) < 1500);
    }

    void whatIsRemovedWhileLockedIsNotFoundAgain()
    {
        {
            Prompter prompter;
            const SecretDaemon daemon(m_folder->path());
            SecretServiceStore store(m_defaults, patience, 100ms);
            store.add(service, key, u"removed"_s);
            QVERIFY(store.find(service, key));
            lock();
            store.remove(service, key);
            QTRY_VERIFY(prompter.isAsked);
        } // nobody has unlocked
        const SecretDaemon daemon(m_folder->path());
        QVERIFY(!SecretServiceStore(m_defaults, patience).find(service, key));
        QCOMPARE(itemsWith({{u"service"_s, service}, {u"account"_s, key}}), 0);
        SecretServiceStore store(m_defaults, patience);
        Keychain(store).set(u"new"_s, key);
        QCOMPARE(store.find(service, key), u"new"_s);
    }

    void hangingDaemonHoldsUpOnce()
    {
        const SecretDaemon daemon(m_folder->path());
        auto store = std::make_unique<SecretServiceStore>(m_defaults, patience);
        store->add(service, key, u"kept"_s);
        QCOMPARE(store->find(service, key), u"kept"_s);
        daemon.signal(SIGSTOP);
        const qint64 first = millisecondsOf([&] { QVERIFY(!store->find(service, key)); });
        QVERIFY2(first >= 1000 && first < 2000, qPrintable(QString::number(first)));
        SecretServiceStore atLaunch(m_defaults);
        QVERIFY(millisecondsOf([&] { QVERIFY(!atLaunch.find(service, key)); }) < 1000);
        const auto late = store->lastAnswer();
        QVERIFY(!late.isFinished());
        QVERIFY(millisecondsOf([&] {
                    store->add(service, key, u"later"_s);
                    QVERIFY(!store->find(service, key));
                    QVERIFY(!store->find(service, key));
                }) < 100);
        // When it moves again, everything has its effect in its order.
        daemon.signal(SIGCONT);
        QTRY_VERIFY(late.isFinished());
        QVERIFY(late.resultCount() == 1 && late.result() == u"kept"_s);
        QTRY_COMPARE(store->find(service, key), u"later"_s);
        daemon.signal(SIGSTOP);
        QVERIFY(!store->find(service, key));
        QVERIFY(millisecondsOf([&] { store.reset(); }) < 100);
    }

    /// Last: there is no bus afterwards. GLib would end the process with it.
    void outlivesTheBus()
    {
        SecretServiceStore store(m_defaults, patience);
        {
            const SecretDaemon daemon(m_folder->path());
            store.add(service, key, u"kept"_s);
            QCOMPARE(store.find(service, key), u"kept"_s);
        }
        m_bus->stop();
        QVERIFY(!store.find(service, key));
        store.add(service, key, u"lost"_s);
        QVERIFY(!store.find(service, key));
    }
};

QTEST_GUILESS_MAIN(TestSecretStore)
#include "test_secret_store.moc"
