// Pictures of the panel and the menu in every state, made from the real widgets over a scripted
// machine. Argument: the folder for them. The scale is the toolkit's (QT_SCALE_FACTOR).

#include "tests/support/TrayStage.h"
#include "ui/parts/ChineseTexts.h"
#include "ui/parts/Timeline.h"

#include <QApplication>
#include <QDir>
#include <QPainter>
#include <QTest>

#include <array>
#include <cstdio>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{

using Stage = TrayStage;

void check(bool holds, const char *what)
{
    if (!holds)
        qFatal("cannot show %s", what);
}

void waitFor(const char *what, const std::function<bool()> &condition)
{
    check(QTest::qWaitFor(condition, 20'000), what);
}

RecentSession recording(const QString &title, int minutes, const QString &when)
{
    RecentSession entry = Stage::entry(title);
    entry.duration =
        minutes < 60 ? u"%1m"_s.arg(minutes) : u"%1h %2m"_s.arg(minutes / 60).arg(minutes % 60);
    entry.when = when;
    return entry;
}

/// Waiting for upload, uploading, failed and uploaded; in a list that is longer than its place.
QList<RecentSession> everyKindOfEntry(const AudioRig &rig)
{
    QList<RecentSession> entries{recording(u"产品周会"_s, 47, u"刚刚"_s),
                                 recording(u"客户访谈 · 华东区"_s, 72, u"2小时前"_s),
                                 recording(u"季度预算讨论"_s, 31, u"昨天"_s),
                                 recording(u"设计评审：新版首页与导航的交互细节"_s, 58, u"2天前"_s),
                                 recording(u"面试 – 后端工程师"_s, 44, u"3天前"_s),
                                 recording(u"R&D <sync>"_s, 25, u"5天前"_s)};
    QDateTime time = rig.clock.wall;
    for (int i = 0; i < entries.size(); ++i) {
        RecentSession &entry = entries[i];
        time = time.addSecs(i == 0 ? -40 : -2 * 3600 * i * i * i);
        entry.startedAt = time;
        const QString name = u"recording-%1.m4a"_s.arg(i);
        rig.putFile(name, 4000);
        entry.fileURL = rig.url(name);
        if (i > 2)
            entry.remoteID = u"meeting-%1"_s.arg(i);
    }
    entries[2].status = RecentSession::Status::failed;
    entries[2].uploadProgress = u"网络连接失败，请检查网络后重试"_s;
    return entries;
}

/// With a session that the service answers with \p status.
void signIn(Stage &stage, int status = 200)
{
    const QByteArray identity = R"({"user":{"email":"lin.wei@example.com"}})";
    stage.secrets.add(u"com.parlovance.mac"_s, u"session"_s,
                      uR"({"email":"lin.wei@example.com","token":"t"})"_s);
    stage.http.answer(u"GET /api/auth/me"_s, status, identity);
    stage.auth.emplace(stage.origin, stage.http, stage.secrets, stage.workspace);
    stage.app->setAuth(&*stage.auth);
    waitFor("the sign-in", [&] {
        return stage.auth->sessionStatus() ==
               (status == 200 ? SessionStatus::verified : SessionStatus::expired);
    });
}

void record(Stage &stage)
{
    stage.app->toggleRecording();
    stage.waitFor(RecordingState::recording);
}

/// Sound on both sources, some while into the recording.
void speak(Stage &stage)
{
    constexpr int seconds = (12 * 60) + 47;
    constexpr std::array<float, 2> loud{0.95F, -0.9F};
    waitFor("the time", [&] { return stage.app->elapsed() >= seconds; });
    stage.rig.microphones.power = -5.0F;
    stage.rig.capture.listener->didCapture(AudioBuffer{
        .samples = loud, .channelCount = 2, .sampleRate = 48000, .presentationTime = 1s});
}

struct Scene {
    const char *name;
    std::function<void(Stage &)> prepare;
};

const std::array scenes{
    Scene("01-signed-out", [](Stage &) {}),
    Scene("02-expired", [](Stage &stage) { signIn(stage, 401); }),
    Scene("03-idle", [](Stage &stage) { signIn(stage); }),
    Scene("04-one-source-off",
          [](Stage &stage) {
              signIn(stage);
              stage.app->setSystemAudioOn(false);
          }),
    Scene("05-both-sources-off",
          [](Stage &stage) {
              signIn(stage);
              stage.app->setSystemAudioOn(false);
              stage.app->setMicOn(false);
          }),
    Scene("06-starting",
          [](Stage &stage) {
              signIn(stage);
              stage.rig.script.holdAt(u"capture start"_s);
              stage.app->toggleRecording();
              stage.waitFor(RecordingState::starting);
          }),
    Scene("07-live",
          [](Stage &stage) {
              signIn(stage);
              stage.app->setSessionTitle(u"产品周会"_s);
              record(stage);
              speak(stage);
          }),
    Scene("08-stopping",
          [](Stage &stage) {
              signIn(stage);
              record(stage);
              stage.rig.script.holdAt(u"capture stop"_s);
              stage.app->toggleRecording();
              stage.waitFor(RecordingState::stopping);
          }),
    Scene("09-error",
          [](Stage &stage) {
              signIn(stage);
              record(stage);
              stage.rig.capture.listener->didStop(Error(u"声音服务没有响应（5 秒没有声音数据）"_s));
              waitFor("the error", [&] {
                  return stage.app->lastError().value_or(QString()).contains(u"声音服务"_s);
              });
          }),
    Scene("11-full-list",
          [](Stage &stage) {
              signIn(stage);
              stage.rig.script.holdAt(u"POST /api/meetings/reconcile"_s);
              stage.app->startUpload(stage.app->recents().at(1).id);
              waitFor("the upload", [&] {
                  return stage.rig.script.isWaitingAt(u"POST /api/meetings/reconcile"_s);
              });
          }),
};

void save(const QPixmap &picture, const QDir &folder, const QString &name)
{
    check(picture.save(folder.filePath(name + u".png"_s)), "a picture in that folder");
}

void savePanel(Stage &stage, const QDir &folder, const QString &name)
{
    stage.statusBar->openPanel();
    QWidget &window = Stage::popover();
    window.setFixedSize(360, 680); // the screen has less at scale 2
    check(QTest::qWaitForWindowActive(&window), "the panel");
    QTest::qWait(200); // until the levels have been read
    save(window.grab(), folder, name);
}

void saveMenu(const Stage &stage, const QDir &folder)
{
    QMenu &menu = stage.menu();
    menu.popup({0, 0});
    save(menu.grab(), folder, u"12-menu"_s);
    QMenu &recents = stage.recentsMenu();
    menu.setActiveAction(recents.menuAction());
    waitFor("the submenu", [&] { return recents.isVisible(); });
    // Beside its item, also where the screen has no room for that.
    const QPoint beside(menu.width() - 1, menu.actionGeometry(recents.menuAction()).top());
    const QRect whole = menu.rect() | recents.rect().translated(beside);
    const double scale = menu.devicePixelRatioF();
    QPixmap both(whole.size() * scale);
    both.setDevicePixelRatio(scale);
    both.fill(Qt::transparent);
    QPainter painter(&both);
    painter.drawPixmap(QPoint(), menu.grab());
    painter.drawPixmap(beside, recents.grab());
    painter.end();
    save(both, folder, u"13-submenu"_s);
}

} // namespace

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    speakChinese();
    // Everything that moves at one moment, the same in every run.
    Timeline::setClock([] { return 1'741'327'500.7; });
    const QDir folder(argc > 1 ? QFile::decodeName(argv[1]) : u"."_s);
    check(folder.mkpath(u"."_s), "anything in that folder");
    for (const auto &[name, prepare] : scenes) {
        const AudioRig files;
        Stage stage(everyKindOfEntry(files));
        prepare(stage);
        stage.show();
        savePanel(stage, folder, QString::fromLatin1(name));
        for (const auto &step :
             {u"capture start"_s, u"capture stop"_s, u"POST /api/meetings/reconcile"_s})
            stage.rig.script.releaseAt(step);
    }
    {
        Stage stage;
        signIn(stage);
        stage.show();
        savePanel(stage, folder, u"10-empty-list"_s);
    }
    const AudioRig files;
    Stage stage(everyKindOfEntry(files));
    stage.show();
    saveMenu(stage, folder);
    return 0;
}
