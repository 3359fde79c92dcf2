#include "app/BusApplication.h"
#include "tests/support/PrivateBus.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

#include <sys/resource.h>

#include <csignal>
#include <memory>

using namespace Qt::StringLiterals;

namespace
{
const auto name = u"com.parlovance.Parlovance"_s;

uint owner()
{
    return QDBusConnection::sessionBus().interface()->servicePid(name);
}
} // namespace

/// The program itself, several times on one bus, without a desktop. Argument of the build: its
/// path.
class TestSingleInstance : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void addressesReachTheFirstUnchanged_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QStringList>("opened"); // none: it was asked to come forward
        QTest::newRow("none") << QStringList() << QStringList();
        const QStringList callback{u"parlovance://auth?token=a%2Bb+c&state=%E5%91%A8&email=a@b"_s};
        QTest::newRow("as it is") << callback << callback;
        const QStringList spelled{u"PARLOVANCE://Auth?a=%zz&b=100%"_s, u"parlovance:x y 中"_s};
        QTest::newRow("several, however spelled") << spelled << spelled;
        QTest::newRow("others are left out")
            << QStringList{u"file:///etc/passwd"_s, callback[0], u"https://example.com"_s}
            << callback;
        QTest::newRow("only others")
            << QStringList{u"https://example.com"_s, u"/etc/passwd"_s} << QStringList();
    }

    void addressesReachTheFirstUnchanged()
    {
        QFETCH(const QStringList, arguments);
        QFETCH(const QStringList, opened);
        BusApplication first(m_lock);
        QCOMPARE(first.claim({}), BusApplication::Claim::first);
        QSignalSpy openings(&first, &BusApplication::opened);
        QSignalSpy activations(&first, &BusApplication::activated);
        const auto second = start(arguments);
        QTRY_COMPARE(second->state(), QProcess::NotRunning);
        QCOMPARE(second->exitCode(), 0);
        QCOMPARE(activations.size(), opened.isEmpty() ? 1 : 0);
        QCOMPARE(openings.size(), opened.isEmpty() ? 0 : 1);
        if (!opened.isEmpty())
            QCOMPARE(openings[0][0].toStringList(), opened);
        QDBusConnection::sessionBus().unregisterService(name);
    }

    void foreignAddressesOnTheBusAreLeftOut()
    {
        BusApplication first(m_lock);
        QCOMPARE(first.claim({}), BusApplication::Claim::first);
        QSignalSpy openings(&first, &BusApplication::opened);
        auto message = call(u"Open"_s);
        message << QStringList{u"https://example.com"_s, u"parlovance://auth?a=b"_s, u"/etc"_s}
                << QVariantMap();
        QDBusConnection::sessionBus().call(message, QDBus::BlockWithGui);
        QCOMPARE(openings.size(), 1);
        QCOMPARE(openings[0][0].toStringList(), QStringList{u"parlovance://auth?a=b"_s});
        message.setArguments({QStringList(10'000, u"parlovance://auth"_s), QVariantMap()});
        QDBusConnection::sessionBus().call(message, QDBus::BlockWithGui);
        QCOMPARE(openings[1][0].toStringList().size(), 16);

        const auto seen = QDBusConnection::sessionBus().call(
            QDBusMessage::createMethodCall(name, u"/com/parlovance/Parlovance"_s,
                                           u"org.freedesktop.DBus.Introspectable"_s,
                                           u"Introspect"_s),
            QDBus::BlockWithGui);
        const QRegularExpression interface(u"<interface name=\"([^\"]*)\""_s);
        QStringList interfaces;
        for (const auto &match : interface.globalMatch(seen.arguments().value(0).toString()))
            interfaces.append(match.captured(1));
        interfaces.removeIf(
            [](const QString &each) { return each.startsWith("org.freedesktop.DBus."_L1); });
        QCOMPARE(interfaces, QStringList{u"org.freedesktop.Application"_s});
        QDBusConnection::sessionBus().unregisterService(name);
    }

    void addressIsNeitherInTheCommandLineNorInACoreFile()
    {
        rlimit limit{};
        QCOMPARE(getrlimit(RLIMIT_CORE, &limit), 0);
        limit.rlim_cur = limit.rlim_max;
        QCOMPARE(setrlimit(RLIMIT_CORE, &limit), 0);
        const auto first = start({u"parlovance://auth?token=secret&state=s"_s});
        QTRY_COMPARE(qint64{owner()}, first->processId());
        QFile commandLine(u"/proc/%1/cmdline"_s.arg(first->processId()));
        QVERIFY(commandLine.open(QIODevice::ReadOnly));
        const QByteArray line = commandLine.readAll();
        QVERIFY(line.contains("parlovance") && !line.contains("secret"));
        QCOMPARE(kill(static_cast<pid_t>(first->processId()), SIGSEGV), 0);
        QVERIFY(first->waitForFinished());
        QCOMPARE(QDir(m_home.path()).entryList({u"core*"_s}, QDir::Files), QStringList());
    }

    void oneRunsOnAllBuses()
    {
        BusApplication first(m_lock);
        QCOMPARE(first.claim({}), BusApplication::Claim::first);
        BusApplication onNoBus(m_lock, QDBusConnection(u"none"_s));
        QCOMPARE(onNoBus.claim({}), BusApplication::Claim::elsewhere);
        QDBusConnection::sessionBus().unregisterService(name);
    }

    void laterOnesEnd()
    {
        const auto first = start({});
        QTRY_COMPARE(qint64{owner()}, first->processId());
        const auto second = start({u"parlovance://auth?token=t&state=s"_s});
        QTRY_COMPARE(second->state(), QProcess::NotRunning);
        QCOMPARE(second->exitCode(), 0);
        QCOMPARE(first->state(), QProcess::Running);
        end(*first);
    }

    void successorWaitsForTheEnd()
    {
        const auto first = start({});
        QTRY_COMPARE(qint64{owner()}, first->processId());
        const auto next = start({u"--relaunched"_s});
        // It has come as far as to the bus when it is answered that somebody has the name.
        QVERIFY(QTest::qWaitFor([&] { return connections() > 2; }));
        QCOMPARE(qint64{owner()}, first->processId());
        end(*first);
        QTRY_COMPARE(qint64{owner()}, next->processId());
        end(*next);
    }

private:
    static qsizetype connections()
    {
        const QStringList names =
            QDBusConnection::sessionBus().interface()->registeredServiceNames().value();
        return names.filter(u":"_s).size();
    }

    std::unique_ptr<QProcess> start(const QStringList &arguments) const
    {
        auto process = std::make_unique<QProcess>();
        auto environment = QProcessEnvironment::systemEnvironment();
        for (const char *const place :
             {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"})
            environment.insert(QString::fromLatin1(place), m_home.path());
        process->setProcessEnvironment(environment);
        process->setWorkingDirectory(m_home.path());
        process->setProcessChannelMode(QProcess::ForwardedChannels);
        process->start(QStringLiteral(PROGRAM), arguments);
        return process;
    }

    static QDBusMessage call(const QString &method)
    {
        return QDBusMessage::createMethodCall(name, u"/com/parlovance/Parlovance"_s,
                                              u"org.freedesktop.Application"_s, method);
    }

    /// Of the one instance, once it has come so far that it can be asked to leave.
    static void end(QProcess &process)
    {
        auto message = call(u"Activate"_s);
        message << QVariantMap();
        QCOMPARE(QDBusConnection::sessionBus().call(message).type(), QDBusMessage::ReplyMessage);
        process.terminate();
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
    }

    PrivateBus m_bus;
    QTemporaryDir m_home;
    const QString m_lock = m_home.filePath(u"lock"_s);
};

QTEST_GUILESS_MAIN(TestSingleInstance)
#include "test_single_instance.moc"
