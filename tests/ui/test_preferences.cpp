#include "tests/support/TimerCount.h"
#include "tests/support/WindowStage.h"
#include "ui/parts/MS.h"
#include "ui/parts/MSSwitch.h"
#include "ui/parts/TextLabel.h"
#include "ui/preferences/RadioRow.h"

#include <QApplication>
#include <QFileDialog>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
const auto release = u"GET /api/release/latest"_s;

/// A chooser that notes where it begins, and answers when the test says so.
struct NotedChooser {
    FolderChooser chooser()
    {
        return [this](QWidget *, const QString &start, const auto &chosen) {
            starts.append(start);
            answer = chosen;
        };
    }

    QStringList starts;
    std::function<void(const QString &)> answer;
};

/// The names of the chosen ones of the radio rows, and of the sidebar.
QStringList chosen(const WindowStage &stage)
{
    QStringList names;
    for (const auto *const row : stage.window().findChildren<QAbstractButton *>()) {
        if (row->isVisible() && row->isChecked())
            names.append(row->objectName());
    }
    return names;
}
} // namespace

class PreferencesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void launchAtLogin()
    {
        WindowStage stage({{u"prefs.launchAtLogin"_s, true}});
        stage.showPreferences();
        stage.click(u"tab general"_s);
        const auto &toggle = stage.find<MSSwitch>(u"launchAtLogin"_s);
        QVERIFY(toggle.isChecked());
        stage.click(u"launchAtLogin"_s);
        stage.loginItem.failure = Error(u"no desktop"_s);
        QTest::keyClick(&stage.find(u"launchAtLogin"_s), Qt::Key_Space);
        QVERIFY(toggle.isChecked()); // what the user wants
        QCOMPARE(stage.loginItem.calls, QStringList({u"unregister"_s, u"register"_s}));
        stage.prefs->setLaunchAtLogin(false);
        QVERIFY(!toggle.isChecked());
    }

    void choicesAreStored()
    {
        // A quality of another version of the program counts as the high one.
        WindowStage stage({{u"prefs.audioQuality"_s, u"lossless"_s},
                           {u"prefs.uploadStrategy"_s, u"immediate"_s}});
        stage.showPreferences();
        const auto pane = u"tab recording"_s;
        QCOMPARE(chosen(stage), QStringList({pane, u"quality high"_s, u"upload immediate"_s}));
        for (const QString &row :
             {u"quality standard"_s, u"upload manual"_s, u"quality high"_s, u"upload immediate"_s,
              u"upload wifiOnly"_s /* cannot be chosen */})
            stage.click(row);
        QCOMPARE(stage.defaults.writes,
                 QStringList({u"prefs.audioQuality=standard"_s, u"prefs.uploadStrategy=manual"_s,
                              u"prefs.audioQuality=high"_s, u"prefs.uploadStrategy=immediate"_s}));
        QCOMPARE(chosen(stage), QStringList({pane, u"quality high"_s, u"upload immediate"_s}));
        stage.prefs->setAudioQuality(AudioQuality::standard);
        stage.prefs->setUploadStrategy(UploadStrategy::manual);
        QCOMPARE(chosen(stage), QStringList({pane, u"quality standard"_s, u"upload manual"_s}));
    }

    void folderIsChosen()
    {
        NotedChooser noted;
        WindowStage stage({{u"prefs.saveLocation"_s, u"/tmp"_s}});
        stage.chooser = noted.chooser();
        stage.showPreferences();
        stage.click(u"chooseFolder"_s); // cancelled
        QVERIFY(stage.defaults.writes.isEmpty());
        stage.click(u"chooseFolder"_s);
        QCOMPARE(noted.starts, QStringList({u"/tmp"_s, u"/tmp"_s}));
        noted.answer(stage.home.path());
        QCOMPARE(stage.defaults.writes, QStringList(u"prefs.saveLocation="_s + stage.home.path()));
        QCOMPARE(stage.find<QLabel>(u"saveLocation"_s).text(), stage.home.path());
    }

    void folderThatCannotBeWrittenIsTold_data()
    {
        QTest::addColumn<QString>("folder"); // in one with a file "taken"
        QTest::addColumn<QString>("problem");
        QTest::newRow("not there yet") << u"new/newer"_s << QString();
        QTest::newRow("below a file") << u"taken/new"_s << u"此位置不是文件夹，录音将无法保存"_s;
    }

    void folderThatCannotBeWrittenIsTold()
    {
        QFETCH(const QString, folder);
        QFETCH(const QString, problem);
        NotedChooser noted;
        WindowStage stage;
        stage.chooser = noted.chooser();
        QFile taken(stage.home.filePath(u"taken"_s));
        QVERIFY(taken.open(QIODevice::WriteOnly));
        stage.showPreferences();
        const auto shown = [&] {
            const auto &label = stage.find<QLabel>(u"saveLocationProblem"_s);
            return label.isVisible() ? label.text() : QString();
        };
        // Judged one after the other: what was told of the first is gone when the second was
        // judged.
        stage.click(u"chooseFolder"_s);
        noted.answer(taken.fileName());
        QTRY_VERIFY(!shown().isEmpty());
        const QString path = stage.home.filePath(folder);
        noted.answer(path);
        QCOMPARE(stage.prefs->saveLocation(), path);
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
        QTRY_COMPARE(shown(), problem);
    }

    void updateCheck()
    {
        WindowStage stage({}, false, R"({"shortVersion":"1.2.0"})");
        stage.showPreferences();
        stage.click(u"tab about"_s);
        const auto shown = [&stage] {
            const auto &label = stage.find<TextLabel>(u"updateStatus"_s);
            return QStringList({stage.texts().at(2), label.text(), label.color().name()});
        };
        const auto check = u"[检查更新]"_s;
        QCOMPARE(shown().first(2), QStringList({check, u""_s}));

        stage.desktop.script.holdAt(release);
        stage.click(u"update"_s);
        QCOMPARE(shown(), QStringList({u"(检查中…)"_s, u"检查中…"_s, MS::muted.name()}));
        stage.click(u"update"_s); // of no effect
        stage.desktop.script.releaseAt(release);
        QTRY_COMPARE(shown().first(), check);
        QVERIFY(shown().at(1).startsWith(u"检查失败：无法连接服务器"));
        QCOMPARE(shown().last(), MS::ember.name());
        QCOMPARE(stage.desktop.script.calls.count(release), 1);

        stage.desktop.http.answer(release, 200, R"({"version":"1.2.0"})");
        stage.click(u"update"_s);
        QTRY_COMPARE(shown(), QStringList({check, u"已是最新版本"_s, MS::moss.name()}));

        stage.desktop.http.answer(release, 200, R"({"version":"1.3.0"})");
        stage.click(u"update"_s);
        QTRY_COMPARE(shown(),
                     QStringList({u"[前往下载]"_s, u"v1.3.0 可用 — 点击下载"_s, MS::amber.name()}));
        stage.click(u"update"_s);
        QCOMPARE(stage.desktop.workspace.opened, QStringList(u"https://s.example/#download"_s));
        QCOMPARE(stage.desktop.script.calls.count(release), 3);

        stage.click(u"openWeb"_s);
        QCOMPARE(stage.desktop.workspace.opened.last(), u"https://s.example"_s);
    }
};

QTEST_MAIN(PreferencesTest)
#include "test_preferences.moc"
