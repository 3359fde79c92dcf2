#pragma once

#include "base/FileDescriptor.h"

#include <QObject>
#include <QSocketNotifier>

/// Turns the signals that ask a program to leave (SIGHUP, SIGINT, SIGTERM) into an ordinary event
/// of the main thread. One for the process, for its whole life.
class UnixSignals : public QObject
{
    Q_OBJECT

public:
    explicit UnixSignals(QObject *parent = nullptr);
    ~UnixSignals() override;

Q_SIGNALS:
    void leaveRequested();

private:
    void drain();

    FileDescriptor m_event;
    QSocketNotifier m_notifier;
};
