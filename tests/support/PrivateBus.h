#pragma once

#include <QProcess>
#include <QTemporaryDir>

/// A session bus of its own, with nothing on it and nothing that it could start. Takes the place of
/// the process's session bus, so it has to be there before that is first used.
class PrivateBus
{
public:
    PrivateBus();
    ~PrivateBus();

    PrivateBus(const PrivateBus &) = delete;
    PrivateBus &operator=(const PrivateBus &) = delete;

    bool isRunning() const { return m_daemon.state() == QProcess::Running; }

    /// Ends it under everybody's feet.
    void stop();

private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
};
