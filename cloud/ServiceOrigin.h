#pragma once

#include "base/Error.h"

#include <QLatin1String>
#include <QString>

#include <expected>

/// Scheme and host (with a port, if any) of the web service, and the addresses made from them.
/// A value; any thread.
///
/// https only, or http where the host is this machine itself, for development.
class ServiceOrigin
{
public:
    /// A single slash at the end is forgiven. The error is a sentence for the user; it does not
    /// repeat \p text, which may hold a password.
    static std::expected<ServiceOrigin, Error> parse(const QString &text);

    const QString &text() const { return m_text; }

    /// Whether the service runs on this machine.
    bool isLoopback() const { return m_isLoopback; }

    /// The origin followed by \p path, unchanged.
    QString address(QLatin1String path) const { return m_text + path; }

    QString signInPage(const QString &state) const;
    QString appPage() const;

    /// The identifier comes from the service and is taken as one piece of a path, whatever is in
    /// it. "." and ".." cannot be written as such a piece; they give the list of meetings.
    QString meetingPage(const QString &meetingId) const;

    QString downloadPage() const;

    /// Whether something may be sent to \p address, which came from outside: an address as
    /// WebAddress describes it, on this machine only where the origin is there too.
    bool allows(const QString &address) const;

private:
    ServiceOrigin(QString text, bool isLoopback);

    QString m_text;
    bool m_isLoopback;
};

/// What the configuration gave. Objects that talk to the service take it as it is: with an error
/// everything but the service works, and every call fails with that error before it is built.
using ConfiguredOrigin = std::expected<ServiceOrigin, Error>;
