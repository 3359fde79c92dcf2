#pragma once

#include "base/FileDescriptor.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <chrono>

/// The application as the desktop reaches it on the session bus: there is one instance, which the
/// desktop entry's name stands for, and everything that starts another one reaches that. It offers
/// no more than the freedesktop application interface.
///
/// Addresses are handed on as they came, but only those of the application's own scheme. Main
/// thread.
class BusApplication : public QObject
{
    Q_OBJECT

public:
    enum class Claim {
        first,     ///< this is the one instance
        handedOn,  ///< another one runs and was told
        notHanded, ///< another one runs and did not answer
        elsewhere, ///< another one of this user runs, out of reach: on another bus, or without one
    };

    /// \p lockPath: a file that one instance of the user's holds, on whichever bus, for there is
    /// one writer of the settings and of the list of recordings.
    explicit BusApplication(const QString &lockPath,
                            QDBusConnection bus = QDBusConnection::sessionBus(),
                            QObject *parent = nullptr);

    /// Becomes the one instance, or hands \p addresses, its own, to the one there is, or that the
    /// bus starts; it comes forward where there are none. Waits ten seconds for the answer at
    /// most.
    Claim claim(const QStringList &addresses);

    /// Waits until the instance that runs has left; at most \p patience for the name and for the
    /// lock. Whether this is the one instance then.
    bool succeed(std::chrono::seconds patience = std::chrono::seconds(30));

    /// Of \p addresses those that the application takes, a few at most: anybody may send many.
    static QStringList ownAddresses(const QStringList &addresses);

Q_SIGNALS:
    void activated();

    /// Never with an empty list.
    void opened(const QStringList &addresses);

private:
    friend class BusApplicationInterface;

    bool registerName();
    bool lock(std::chrono::milliseconds patience);
    bool handOn(const QStringList &addresses);

    QDBusConnection m_bus;
    const QString m_lockPath;
    FileDescriptor m_lock;
};

/// The object that other processes call on the bus.
class BusApplicationInterface : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit BusApplicationInterface(BusApplication &application);

public Q_SLOTS:
    // The interface's own names.
    // NOLINTBEGIN(readability-identifier-naming)
    void Activate(const QVariantMap &platformData);
    void Open(const QStringList &uris, const QVariantMap &platformData);
    void ActivateAction(const QString &name, const QVariantList &parameter,
                        const QVariantMap &platformData);
    // NOLINTEND(readability-identifier-naming)

private:
    BusApplication &m_application;
};
