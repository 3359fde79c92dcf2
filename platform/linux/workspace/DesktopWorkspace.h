#pragma once

#include "platform/Workspace.h"

/// The desktop portal and the file manager of the session bus; where there is none, xdg-open.
class DesktopWorkspace : public Workspace
{
public:
    void openAddress(const QString &address) override;
    void revealFile(const QString &path) override;
};
