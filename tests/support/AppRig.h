#pragma once

#include "core/RecentSession.h"
#include "settings/PrefsStore.h"
#include "tests/support/AudioRig.h"
#include "tests/support/FakeDefaults.h"
#include "tests/support/FakeLoginItem.h"

/// A machine to record on, with the settings of somebody who records into its folder.
struct AppRig {
    AppRig() { prefs.setSaveLocation(rig.home.path()); }

    /// An entry that the service does not hold, with a file that need not exist.
    static RecentSession entry(const QString &title)
    {
        RecentSession entry;
        entry.title = title;
        entry.duration = QStringLiteral("1m");
        entry.durationSeconds = 75;
        entry.when = QStringLiteral("刚刚");
        entry.startedAt = FakeClock().wall.toUTC();
        entry.fileURL = QUrl::fromLocalFile(QStringLiteral("/rec/%1.m4a").arg(title));
        return entry;
    }

    AudioRig rig;
    FakeDefaults defaults;
    FakeLoginItem loginItem;
    PrefsStore prefs{defaults, loginItem, rig.home.path()};
};
