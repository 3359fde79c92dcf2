#pragma once

#include "platform/SleepInhibitor.h"

#include <QDBusConnection>
#include <QDBusUnixFileDescriptor>
#include <QObject>

/// Asks the login manager of the system bus for a lock, as its interface for inhibitors describes
/// it; without one nothing is held.
class LoginSleepInhibitor : public QObject, public SleepInhibitor
{
    Q_OBJECT

public:
    explicit LoginSleepInhibitor(QDBusConnection systemBus = QDBusConnection::systemBus());

    void setHeld(bool isHeld) override;

private:
    void request(const QString &what);

    QDBusConnection m_bus;
    bool m_isHeld = false;
    bool m_isAsking = false;
    QDBusUnixFileDescriptor m_lock; // closing it gives it back
};
