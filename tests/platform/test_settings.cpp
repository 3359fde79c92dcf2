#include "platform/linux/desktop/AutostartEntry.h"
#include "platform/linux/desktop/JsonDefaults.h"
#include "platform/linux/desktop/SystemVolume.h"
#include "settings/PrefsStore.h"
#include "tests/support/FakeDefaults.h"
#include "tests/support/FakeLoginItem.h"
#include "tests/support/Files.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
QString summary(const PrefsStore &store)
{
    return QStringList({rawValue(store.audioQuality()), rawValue(store.uploadStrategy()),
                        QVariant(store.autoDetectMeeting()).toString(), store.saveLocation(),
                        QVariant(store.launchAtLogin()).toString(),
                        QVariant(store.hasCompletedOnboarding()).toString()})
        .join(u' ');
}

} // namespace

class SettingsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void loadsWhatCanBeUsed_data()
    {
        QTest::addColumn<QVariantMap>("stored");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const QString &key, const QVariant &value,
                            const QString &expected) {
            QTest::addRow("%s", name) << QVariantMap{{u"prefs."_s + key, value}} << expected;
        };
        const auto defaults = u"high manual false /home/u/Documents/Parlovance false false"_s;
        QTest::addRow("nothing stored") << QVariantMap() << defaults;
        row("standard", u"audioQuality"_s, u"standard"_s,
            u"standard manual false /home/u/Documents/Parlovance false false"_s);
        row("lossless", u"audioQuality"_s, u"lossless"_s, defaults);
        row("capitals", u"audioQuality"_s, u"STANDARD"_s, defaults);
        row("wrong type", u"audioQuality"_s, true, defaults);
        row("immediate", u"uploadStrategy"_s, u"immediate"_s,
            u"high immediate false /home/u/Documents/Parlovance false false"_s);
        row("wifiOnly", u"uploadStrategy"_s, u"wifiOnly"_s, defaults);
        row("detection", u"autoDetectMeeting"_s, true,
            u"high manual true /home/u/Documents/Parlovance false false"_s);
        row("tilde", u"saveLocation"_s, u"~/录音"_s, u"high manual false ~/录音 false false"_s);
        row("relative", u"saveLocation"_s, u"a//b/"_s, u"high manual false a//b/ false false"_s);
        row("empty", u"saveLocation"_s, u""_s, u"high manual false  false false"_s);
        row("login", u"launchAtLogin"_s, true,
            u"high manual false /home/u/Documents/Parlovance true false"_s);
        row("text for a boolean", u"launchAtLogin"_s, u"true"_s, defaults);
        row("onboarding", u"hasCompletedOnboarding"_s, true,
            u"high manual false /home/u/Documents/Parlovance false true"_s);
    }

    void loadsWhatCanBeUsed()
    {
        QFETCH(QVariantMap, stored);
        FakeDefaults defaults;
        FakeLoginItem loginItem;
        defaults.values = stored;
        const PrefsStore store(defaults, loginItem, u"/home/u/"_s);
        QTEST(summary(store), "expected");
        QCOMPARE(defaults.writes, QStringList());
        QCOMPARE(loginItem.calls, QStringList());
    }

    void everySetIsStoredAndAnnounced()
    {
        FakeDefaults defaults;
        FakeLoginItem loginItem;
        PrefsStore store(defaults, loginItem, u"/home/u"_s);
        QSignalSpy changed(&store, &PrefsStore::changed);
        store.setAudioQuality(AudioQuality::standard);
        store.setUploadStrategy(UploadStrategy::immediate);
        store.setAutoDetectMeeting(true);
        store.setSaveLocation(u"~/录音"_s);
        store.setLaunchAtLogin(true);
        loginItem.failure = Error(u"refused"_s);
        store.setLaunchAtLogin(false);
        store.setLaunchAtLogin(true);
        store.setHasCompletedOnboarding(true);
        QCOMPARE(changed.size(), 8);
        QCOMPARE(summary(store), u"standard immediate true ~/录音 true true"_s);
        QCOMPARE(loginItem.calls, QStringList({u"register"_s, u"unregister"_s, u"register"_s}));
        const QStringList writes{
            u"prefs.audioQuality=standard"_s,      u"prefs.uploadStrategy=immediate"_s,
            u"prefs.saveLocation=~/录音"_s,        u"prefs.launchAtLogin=true"_s,
            u"prefs.launchAtLogin=false"_s,        u"prefs.launchAtLogin=true"_s,
            u"prefs.hasCompletedOnboarding=true"_s};
        QCOMPARE(defaults.writes, writes);
    }

    void valuesOutliveTheProcess()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"new/folder/settings.json"_s);
        {
            JsonDefaults defaults(path);
            defaults.setString(u"text"_s, u"“中文” \\ \n\""_s);
            defaults.setBoolean(u"yes"_s, true);
            defaults.setBoolean(u"no"_s, false);
        }
        const JsonDefaults defaults(path);
        QCOMPARE(defaults.string(u"text"_s), u"“中文” \\ \n\""_s);
        QCOMPARE(defaults.boolean(u"yes"_s), true);
        QCOMPARE(defaults.boolean(u"no"_s), false);
        QCOMPARE(defaults.boolean(u"text"_s), std::nullopt);
        QCOMPARE(defaults.string(u"yes"_s), std::nullopt);
        QCOMPARE(defaults.string(u"absent"_s), std::nullopt);
    }

    void damagedSettingsAreKeptAside_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("isKeptAside");
        QTest::addRow("not JSON") << QByteArray("{\"a\":") << true;
        QTest::addRow("an array") << QByteArray("[]") << true;
        QTest::addRow("empty") << QByteArray() << true;
        QTest::addRow("huge") << QByteArray(2 << 20, ' ') + "{}" << true;
        QTest::addRow("settings of a later version") << QByteArray("{\"later\":[1]}") << false;
    }

    void damagedSettingsAreKeptAside()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, isKeptAside);
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"settings.json"_s);
        put(path, content);
        JsonDefaults defaults(path);
        QCOMPARE(contentOf(path), content);
        defaults.setBoolean(u"a"_s, true);
        defaults.setBoolean(u"a"_s, false);
        QCOMPARE(JsonDefaults(path).boolean(u"a"_s), false);
        QCOMPARE(contentOf(path + u".old"_s), isKeptAside ? content : QByteArray("<none>"));
        QVERIFY(!QFile::exists(path + u".old-2"_s));
        QCOMPARE(contentOf(path).contains("later"), !isKeptAside);
    }

    void autostartEntryComesAndGoes()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"autostart/com.example.desktop"_s);
        AutostartEntry entry(path, {u"/opt/my \"apps\"/50%/$x`\\bin"_s, u"--hidden"_s});
        QVERIFY(entry.unregisterItem());
        QVERIFY(entry.registerItem());
        QVERIFY(entry.registerItem());
        const QByteArrayList lines = contentOf(path).split('\n');
        QCOMPARE(lines.first(), QByteArray("[Desktop Entry]"));
        QVERIFY(lines.contains("Type=Application"));
        QVERIFY(lines.contains(R"(Exec="/opt/my \\"apps\\"/50%%/\\$x\\`\\\\bin" "--hidden")"));
        QCOMPARE(QDir(folder.filePath(u"autostart"_s)).entryList(QDir::Files | QDir::Hidden),
                 QStringList{u"com.example.desktop"_s});
        QVERIFY(entry.unregisterItem());
        QVERIFY(!QFile::exists(path));
    }
};

QTEST_GUILESS_MAIN(SettingsTest)
#include "test_settings.moc"
