#pragma once

#include "base/Error.h"

#include <QByteArray>
#include <QString>

#include <expected>

/// An address that may be requested or opened in the browser, whoever named it: absolute, https or
/// http to this machine, with a host and without user information.
///
/// What stands before the path is taken only in its plainest spelling, so that no two readers of
/// the address can see different hosts in it. The rest is left exactly as it was: addresses carry
/// signatures.
class WebAddress
{
public:
    enum class LoopbackHttp { refused, allowed };

    /// The error says what is wrong with \p text without repeating it: addresses carry secrets.
    static std::expected<WebAddress, Error> parse(const QString &text, LoopbackHttp loopbackHttp);

    /// The address in ASCII; other characters and spaces of the path are percent-encoded.
    const QByteArray &encoded() const { return m_encoded; }

    /// Whether the host is this machine: "localhost", 127.0.0.0/8 or ::1.
    bool isLoopback() const { return m_isLoopback; }

private:
    WebAddress(QByteArray encoded, bool isLoopback)
        : m_encoded(std::move(encoded))
        , m_isLoopback(isLoopback)
    {
    }

    QByteArray m_encoded;
    bool m_isLoopback;
};
