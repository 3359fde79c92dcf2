#pragma once

#include "platform/Workspace.h"

#include <QList>
#include <QStringList>

/// Notes what it is asked to open or reveal.
class FakeWorkspace : public Workspace
{
public:
    void openAddress(const QString &address) override { opened.append(address); }
    void openSignInPage(const QString &address, std::function<void(const QString &)> told) override
    {
        opened.append(address);
        obstructed = std::move(told);
    }
    void revealFile(const QString &path) override { revealed.append(path); }

    void openSettings(SettingsPage page) override { settingsPages.append(page); }
    void startNewInstance(std::function<void()> reported) override
    {
        ++newInstances;
        reported();
    }

    QStringList opened;
    std::function<void(const QString &)> obstructed; ///< of the last page of a sign-in
    QStringList revealed;
    QList<SettingsPage> settingsPages;
    int newInstances = 0;
};
