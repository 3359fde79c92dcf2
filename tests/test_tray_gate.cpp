#include "ui/TrayGate.h"

#include <QDBusConnection>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{

/// A registry of tray icons as desktops run it, with or without somebody who shows them.
class FakeWatcher : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered MEMBER m_hasHost)

public:
    explicit FakeWatcher(bool hasHost)
        : m_hasHost(hasHost)
    {
        m_bus.registerObject(u"/StatusNotifierWatcher"_s, this, QDBusConnection::ExportAllContents);
        m_bus.registerService(u"org.kde.StatusNotifierWatcher"_s);
    }
    ~FakeWatcher() override { QDBusConnection::disconnectFromBus(u"watcher"_s); }

    void addHost()
    {
        m_hasHost = true;
        Q_EMIT StatusNotifierHostRegistered();
    }

Q_SIGNALS:
    void StatusNotifierHostRegistered();

private:
    QDBusConnection m_bus =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"watcher"_s);
    bool m_hasHost;
};

bool noClassicTray()
{
    return false;
}

} // namespace

/// When the first tray icon is allowed, on a bus where the registry comes early, late or never.
class TestTrayGate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void opensAtOnceWhereAHostIs()
    {
        const FakeWatcher watcher(true);
        TrayGate gate(noClassicTray, 1h);
        QSignalSpy opened(&gate, &TrayGate::opened);
        gate.wait();
        QVERIFY(opened.wait());
    }

    void opensWhenTheRegistryArrives()
    {
        TrayGate gate(noClassicTray, 1h);
        QSignalSpy opened(&gate, &TrayGate::opened);
        gate.wait();
        QVERIFY(!opened.wait(100));
        const FakeWatcher watcher(true);
        QVERIFY(opened.wait());
    }

    void aRegistryAloneIsNoTray()
    {
        FakeWatcher watcher(false);
        TrayGate gate(noClassicTray, 1h);
        QSignalSpy opened(&gate, &TrayGate::opened);
        gate.wait();
        QVERIFY(!opened.wait(100));
        watcher.addHost();
        QVERIFY(opened.wait());
        QCOMPARE(opened.constFirst(), QVariantList{true});
    }

    void opensForAClassicTrayAndOnlyOnce()
    {
        bool isThere = false;
        int asked = 0;
        TrayGate gate([&] { return ++asked, isThere; }, 10ms);
        QSignalSpy opened(&gate, &TrayGate::opened);
        gate.wait();
        QVERIFY(!opened.wait(100));
        QCOMPARE(asked, 1);
        isThere = true;
        gate.giveGrace();
        QVERIFY(opened.wait());
        QCOMPARE(opened.constFirst(), QVariantList{false});
        const FakeWatcher watcher(true);
        QVERIFY(!opened.wait(100));
    }
};

QTEST_GUILESS_MAIN(TestTrayGate)
#include "test_tray_gate.moc"
