#pragma once

#include <QObject>
#include <QTimer>

#include <chrono>

class QDBusPendingCallWatcher;

/// Tells when a tray icon may be made.
///
/// The toolkit decides once, at the first tray icon, between the desktop bus and the X11 tray, and
/// a bus without a host of tray icons at that moment means the X11 tray for the life of the
/// process. So the first icon waits for a host, and for a grace period where none shows up: then
/// the X11 tray, which may appear at any time, is the right choice. Main thread.
class TrayGate : public QObject
{
    Q_OBJECT

public:
    explicit TrayGate(std::chrono::milliseconds grace = std::chrono::seconds(5),
                      QObject *parent = nullptr);

    /// Starts to wait. Once; connect opened() before.
    void wait();

Q_SIGNALS:
    /// A host is there, or the grace period is over. Once.
    void opened();

private Q_SLOTS:
    void askForHost();

private:
    void hostAnswered(QDBusPendingCallWatcher *answer);
    void open();

    QTimer m_grace;
    bool m_isOpen = false;
};
