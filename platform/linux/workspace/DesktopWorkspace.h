#pragma once

#include "platform/Workspace.h"

#include <QObject>
#include <QStringList>

#include <utility>

/// The desktop portal and the file manager of the session bus; where there is none, xdg-open.
class DesktopWorkspace : public Workspace
{
public:
    /// \p newInstance: the program and its arguments, for a start that waits for this process to
    /// end.
    explicit DesktopWorkspace(QStringList newInstance = {})
        : m_newInstance(std::move(newInstance))
    {
    }

    void openAddress(const QString &address) override;
    void openSignInPage(const QString &address,
                        std::function<void(const QString &otherProgram)> obstructed) override;
    void revealFile(const QString &path) override;
    void openSettings(SettingsPage page) override;
    void startNewInstance(std::function<void()> reported) override;

private:
    const QStringList m_newInstance;
    QObject m_openings; ///< owns the openings of pages that have not ended
};
