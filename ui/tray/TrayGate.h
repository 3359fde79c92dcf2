#pragma once

#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>

class QDBusPendingCallWatcher;

/// Tells when a tray icon may be made.
///
/// The toolkit decides once, at the first tray icon, between the desktop bus and the X11 tray, and
/// a bus without a host of tray icons at that moment means the X11 tray for the life of the
/// process. So the first icon waits for a host, and is made without one only when there is an X11
/// tray and the host had its time: a desktop's own tray may come up later than the program. Where
/// there is neither, nothing goes on. Main thread.
class TrayGate : public QObject
{
    Q_OBJECT

public:
    /// \p hasClassicTray tells whether an X11 tray is there now; asked when \p grace is over.
    explicit TrayGate(std::function<bool()> hasClassicTray,
                      std::chrono::milliseconds grace = std::chrono::seconds(5),
                      QObject *parent = nullptr);

    /// Starts to wait. Once; connect opened() before.
    void wait();

    /// Gives the host its time once more, as an X11 tray has come up.
    void giveGrace();

Q_SIGNALS:
    /// A tray is there, which shows icons over the bus, menus included, or is an X11 one. Once.
    void opened(bool isOnTheBus);

private Q_SLOTS:
    void askForHost();

private:
    void hostAnswered(QDBusPendingCallWatcher *answer);
    void open(bool isOnTheBus);

    std::function<bool()> m_hasClassicTray;
    QTimer m_grace;
    bool m_isOpen = false;
};
