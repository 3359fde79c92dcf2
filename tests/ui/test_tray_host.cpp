#include "tests/support/TrayHost.h"
#include "tests/support/TrayStage.h"
#include "ui/tray/TrayGate.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{

/// Who shows notifications.
class FakeNotifications : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    FakeNotifications()
    {
        m_bus.registerObject(u"/org/freedesktop/Notifications"_s, this,
                             QDBusConnection::ExportAllSlots);
        m_bus.registerService(u"org.freedesktop.Notifications"_s);
    }
    ~FakeNotifications() override { QDBusConnection::disconnectFromBus(u"notifications"_s); }

    QStringList shown;

public Q_SLOTS:
    // NOLINTNEXTLINE(readability-identifier-naming) the interface's own
    uint Notify(const QString &, uint, const QString &, const QString &, const QString &body,
                const QStringList &, const QVariantMap &, int)
    {
        shown.append(body);
        return static_cast<uint>(shown.size());
    }

private:
    QDBusConnection m_bus =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"notifications"_s);
};

void showAtGate(TrayStage &stage, TrayGate &gate)
{
    QObject::connect(&gate, &TrayGate::opened, &gate,
                     [&stage](bool isExported) { stage.show(isExported); });
    gate.wait();
}

QStringList labels(const QList<TrayHost::MenuItem> &items)
{
    QStringList labels;
    for (const auto &item : items)
        labels.append(item.label + (item.isEnabled ? u""_s : u" (off)"_s));
    return labels;
}

} // namespace

/// The tray icon and its menu on a desktop that shows both itself, told over the session bus.
class TestTrayHost : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void desktopShowsIconAndMenu()
    {
        TrayStage stage({TrayStage::entry(u"周会"_s, u"meeting-1"_s), TrayStage::entry(u"本地"_s)},
                        1s);
        TrayGate gate([] { return false; }, 1h);
        showAtGate(stage, gate);
        QTest::qWait(100);
        QVERIFY(!stage.statusBar);
        // A registry alone is no tray.
        std::optional<TrayHost> host(std::in_place, false);
        QTest::qWait(100);
        QVERIFY(!stage.statusBar);
        host->addHost();
        QVERIFY(host->waitForIcon());
        QTRY_COMPARE(host->readMenu().value(4).items.size(), 2);

        QVERIFY(host->click(640, 10));
        QTRY_VERIFY(stage.popover().isVisible());
        QVERIFY(host->click(640, 10));
        QTRY_VERIFY(!stage.popover().isVisible());

        auto items = host->openMenu();
        QCOMPARE(labels(items),
                 QStringList({u"开始录音"_s, u"打开主面板"_s, u"打开网页版"_s, u""_s, u"最近会议"_s,
                              u"偏好设置…"_s, u""_s, u"退出 Parlovance"_s}));
        host->choose(items.constFirst());
        stage.waitFor(RecordingState::recording);
        items = host->openMenu();
        QCOMPARE(items.constFirst().label, u"停止录音"_s);
        const auto recents = items.at(4).items;
        QCOMPARE(labels(recents), QStringList({u"周会  ·  1m"_s, u"本地  ·  1m (off)"_s}));
        host->choose(recents.constFirst());
        QTRY_COMPARE(stage.workspace.opened,
                     QStringList(u"https://s.example/app/meetings/meeting-1"_s));

        host.reset();
        host.emplace();
        QVERIFY(host->waitForIcon());
        QVERIFY(host->click(640, 10));
        QTRY_VERIFY(stage.popover().isVisible());
    }

    void gateOpensForAClassicTrayAndOnlyOnce()
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
        const TrayHost host;
        QVERIFY(!opened.wait(100));
    }

    void everyErrorIsTold()
    {
        const FakeNotifications notifications;
        TrayHost host;
        TrayStage stage;
        TrayGate gate([] { return false; }, 1h);
        showAtGate(stage, gate);
        QVERIFY(host.waitForIcon());
        stage.app->setSystemAudioOn(false);
        stage.app->setMicOn(false);
        const auto record = host.openMenu().constFirst();
        host.choose(record);
        const auto message = u"至少开启一个音源（系统声音或麦克风）"_s;
        QTRY_COMPARE(notifications.shown, QStringList(message));
        host.choose(record);
        QTRY_COMPARE(notifications.shown, QStringList({message, message}));

        // The open panel shows it itself, and a balloon could cover that.
        stage.statusBar->openPanel();
        stage.rig.capture.outputs.clear();
        stage.rig.script.failAt(u"capture targets"_s);
        stage.app->setSystemAudioOn(true);
        stage.app->toggleRecording();
        QTRY_VERIFY(stage.app->lastError().value_or(QString()).contains(u"capture trouble"));
        TrayStage::popover().hide();
        stage.app->setSystemAudioOn(false);
        stage.app->toggleRecording();
        QTRY_COMPARE(notifications.shown, QStringList({message, message, message}));
    }
};

QTEST_MAIN(TestTrayHost)
#include "test_tray_host.moc"
