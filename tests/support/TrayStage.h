#pragma once

#include "cloud/AuthClient.h"
#include "core/AppState.h"
#include "tests/support/AppRig.h"
#include "tests/support/FakeHttpSession.h"
#include "tests/support/FakeSecretStore.h"
#include "tests/support/FakeWorkspace.h"
#include "ui/tray/StatusBarController.h"

#include <QApplication>
#include <QSystemTrayIcon>
#include <QTest>

#include <chrono>
#include <optional>

/// The tray icon with its menu and its popover over a scripted machine and a web service that is
/// not there.
class TrayStage : public AppRig
{
public:
    /// Starts with this list; \p second is what the counter of elapsed seconds takes for one.
    explicit TrayStage(const QList<RecentSession> &entries = {},
                       std::chrono::milliseconds second = std::chrono::milliseconds(1))
    {
        if (!RecentsFile(rig.clock).save(rig.home.path(), entries))
            qFatal("cannot write the list");
        app.emplace(rig.platform(), MediaUploader(origin, http), prefs, second);
        auth.emplace(origin, http, secrets, workspace);
    }

    /// Puts the icon into the tray, anew where it is in there.
    void show(bool menuIsExported = false)
    {
        statusBar.emplace(
            *app, *auth, [this] { ++preferencesOpened; }, [this] { ++onboardingOpened; }, workspace,
            origin);
        statusBar->showIcon(menuIsExported);
    }

    void waitFor(RecordingState state) const
    {
        if (!QTest::qWaitFor([&] { return app->state() == state; }))
            qFatal("the state does not come");
    }

    QSystemTrayIcon &icon() const { return *statusBar->findChild<QSystemTrayIcon *>(); }
    QMenu &menu() const { return *icon().contextMenu(); }
    QMenu &recentsMenu() const { return *menu().findChild<QMenu *>(QStringLiteral("recentsMenu")); }

    /// The item whose text begins so.
    static QAction *item(const QMenu &menu, const QString &text)
    {
        for (QAction *const action : menu.actions()) {
            if (action->text().startsWith(text))
                return action;
        }
        qFatal("the menu has no such item");
    }

    /// The window that a click on the icon opens; made a moment after the icon.
    static QWidget &popover()
    {
        QWidget *popover = nullptr;
        const auto isThere = [&popover] {
            for (QWidget *const window : QApplication::topLevelWidgets()) {
                if (window->objectName() == QLatin1String("popover"))
                    popover = window;
            }
            return popover;
        };
        if (!QTest::qWaitFor(isThere))
            qFatal("there is no popover");
        return *popover;
    }

    /// An entry of the list; \p meeting is empty for one that is not uploaded.
    static RecentSession entry(const QString &title, const QString &meeting = {})
    {
        RecentSession entry = AppRig::entry(title);
        if (!meeting.isEmpty())
            entry.remoteID = meeting;
        return entry;
    }

    FakeHttpSession http{rig.script};
    FakeSecretStore secrets;
    FakeWorkspace workspace;
    ConfiguredOrigin origin = ServiceOrigin::parse(QStringLiteral("https://s.example"));
    std::optional<AppState> app;
    std::optional<AuthClient> auth;
    std::optional<StatusBarController> statusBar;
    int preferencesOpened = 0;
    int onboardingOpened = 0;
};
