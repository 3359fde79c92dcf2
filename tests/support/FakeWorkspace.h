#pragma once

#include "platform/Workspace.h"

#include <QStringList>

/// Notes what it is asked to open or reveal.
class FakeWorkspace : public Workspace
{
public:
    void openAddress(const QString &address) override { opened.append(address); }
    void revealFile(const QString &path) override { revealed.append(path); }

    QStringList opened;
    QStringList revealed;
};
