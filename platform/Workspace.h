#pragma once

#include <QString>

#include <functional>

/// A page of the desktop's own settings.
enum class SettingsPage { microphone, screenCapture };

/// What the desktop does for the program outside its own windows. Main thread; returns at once.
class Workspace
{
public:
    virtual ~Workspace() = default;

    /// Opens \p address in the default browser. Only https, and http to loopback; others, and
    /// failures, are ignored.
    virtual void openAddress(const QString &address) = 0;

    /// Opens the page of a sign-in, which returns by an address of the program's own scheme.
    /// \p obstructed is called with the name of another program where that takes such addresses,
    /// and with nothing where no browser could be opened.
    virtual void openSignInPage(const QString &address,
                                std::function<void(const QString &otherProgram)> obstructed) = 0;

    /// Shows the file at \p path selected in the file browser, or its folder.
    virtual void revealFile(const QString &path) = 0;

    /// Opens the page, or what comes closest; ignored where the desktop has none.
    virtual void openSettings(SettingsPage page) = 0;

    /// Starts the program once more, to take over when this process has ended. \p reported is
    /// called when that was started, or could not be.
    virtual void startNewInstance(std::function<void()> reported) = 0;
};
