#include "tests/support/TrayHost.h"
#include "ui/TrayGate.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{

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
        const TrayHost watcher(true);
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
        const TrayHost watcher(true);
        QVERIFY(opened.wait());
    }

    void aRegistryAloneIsNoTray()
    {
        TrayHost watcher(false);
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
        const TrayHost watcher(true);
        QVERIFY(!opened.wait(100));
    }
};

QTEST_GUILESS_MAIN(TestTrayGate)
#include "test_tray_gate.moc"
