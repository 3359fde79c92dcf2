#include "tests/support/PanelStage.h"

#include "core/RecentsFile.h"

#include <algorithm>

using namespace Qt::StringLiterals;

PanelStage::PanelStage(const QList<RecentSession> &entries, bool isSignedIn,
                       std::chrono::milliseconds second)
{
    RecentsFile file(rig.clock);
    if (!file.save(rig.home.path(), entries))
        qFatal("cannot write the list");
    if (isSignedIn)
        desktop.keepSession();
    const auto origin = ServiceOrigin::parse(u"https://s.example"_s);
    app = std::make_unique<AppState>(rig.platform(), MediaUploader(origin, desktop.http), prefs,
                                     second);
    auth = &desktop.start();
    app->setAuth(auth);
    const bool hasUnknown = !std::ranges::all_of(entries, &RecentSession::isUploaded);
    const int asked = isSignedIn ? 1 + int(hasUnknown) : 0;
    if (!QTest::qWaitFor([&] { return desktop.http.requests.size() == asked; }))
        qFatal("nothing is asked at launch");
    panel = std::make_unique<PopoverView>(*app, *auth, desktop.workspace, origin);
    panel->show();
    panel->activateWindow();
    if (!QTest::qWaitForWindowActive(panel.get()))
        qFatal("the panel does not get the keyboard");
}

PanelStage::~PanelStage()
{
    // What is in flight ends before what it stands on goes.
    desktop.script.releaseAt(firstStepOfUpload);
    const auto isIdle = [this] {
        return std::ranges::none_of(app->recents(), [](const RecentSession &session) {
            return session.status == RecentSession::Status::processing;
        });
    };
    if (!QTest::qWaitFor(isIdle))
        qFatal("an upload does not end");
    rig.script.releaseAll();
    QCoro::waitFor(app->finishForQuit());
}

RecentSession PanelStage::failed(const QString &title, const std::optional<QString> &reason)
{
    RecentSession made = entry(title);
    made.status = RecentSession::Status::failed;
    made.uploadProgress = reason;
    return made;
}

void PanelStage::record(RecordingState state) const
{
    app->toggleRecording();
    if (!QTest::qWaitFor([&] { return app->state() == state; }))
        qFatal("the recorder does not follow");
}
