#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QObject>
#include <QString>
#include <QThread>

class TrayRegistry;

/// The registry of tray icons on the session bus as most desktops run it, with or without a host,
/// which shows one icon with its menu, and passes clicks on. Main thread.
///
/// The registry answers from a thread of its own: the toolkit waits for it on the main thread.
class TrayHost : public QObject
{
    Q_OBJECT

public:
    struct MenuItem {
        int id = 0;
        QString label; ///< as exported, where an underscore stands before a mnemonic
        bool isEnabled = true;
        QList<MenuItem> items; ///< of its submenu
    };

    explicit TrayHost(bool hasHost = true);
    ~TrayHost() override;
    Q_DISABLE_COPY_MOVE(TrayHost)

    /// Whether the registry is the only one.
    bool isRegistered() const { return m_isRegistered; }

    /// A host comes up, where there was none.
    void addHost();

    /// Waits for the next icon, and for its picture.
    bool waitForIcon();

    /// Clicks the icon at this place of the screen, and returns whether it took the click.
    [[nodiscard]] bool click(int x, int y) const;

    /// What the icon's menu holds, now and when it is opened. Empty where it does not answer.
    QList<MenuItem> readMenu() const;
    QList<MenuItem> openMenu() const;
    void choose(const MenuItem &item) const;

private:
    QDBusMessage call(const QString &interface, const QString &method) const;
    QDBusMessage ask(const QDBusMessage &question) const;

    QDBusConnection m_bus;
    TrayRegistry *const m_registry; ///< gone with its thread
    QThread m_thread;
    bool m_isRegistered = false;
    QString m_item; ///< the icon's name on the bus
};
