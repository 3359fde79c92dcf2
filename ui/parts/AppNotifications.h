#pragma once

#include <QObject>

/// What any part of the application may ask the whole of it for, known to the process by its names.
/// Main thread.
class AppNotifications : public QObject
{
    Q_OBJECT

public:
    /// The one of the process.
    static AppNotifications &shared();

Q_SIGNALS:
    /// Opens the window for the settings, or brings it to the front.
    void parlovanceOpenPreferences();

    /// Opens the window for new users, or brings it to the front.
    void parlovanceOpenOnboarding();

private:
    AppNotifications() = default;
};
