#pragma once

#include <QString>

/// What the desktop does for the program outside its own windows. Main thread; returns at once.
class Workspace
{
public:
    virtual ~Workspace() = default;

    /// Opens \p address in the default browser. Only https, and http to loopback; others, and
    /// failures, are ignored.
    virtual void openAddress(const QString &address) = 0;

    /// Shows the file at \p path selected in the file browser, or its folder.
    virtual void revealFile(const QString &path) = 0;
};
