#pragma once

#include <QByteArray>
#include <QCoroTask>
#include <QList>
#include <QString>

#include <expected>

/// One request. A class, not an aggregate, so that it can be made inside an await expression.
class HttpRequest
{
public:
    struct Header {
        QByteArray name;
        QByteArray value;
    };

    HttpRequest(QByteArray method, QString address)
        : m_method(std::move(method))
        , m_address(std::move(address))
    {
    }

    void addHeader(QByteArray name, QByteArray value)
    {
        m_headers.append(Header{std::move(name), std::move(value)});
    }

    /// The bytes to send.
    void setBody(QByteArray body) { m_body = std::move(body); }

    /// The file to send instead, streamed from disk.
    void setBodyFile(QString path) { m_bodyFile = std::move(path); }

    const QByteArray &method() const { return m_method; }
    const QString &address() const { return m_address; }
    const QList<Header> &headers() const { return m_headers; }
    const QByteArray &body() const { return m_body; }
    const QString &bodyFile() const { return m_bodyFile; }

private:
    QByteArray m_method;
    QString m_address;
    QList<Header> m_headers;
    QByteArray m_body;
    QString m_bodyFile;
};

/// The answer of the other side. Any status is a reply, redirects included: none is followed.
class HttpReply
{
public:
    HttpReply(int status, QByteArray body)
        : m_status(status)
        , m_body(std::move(body))
    {
    }

    int status() const { return m_status; }
    bool isSuccess() const { return m_status >= 200 && m_status <= 299; }
    const QByteArray &body() const { return m_body; }

private:
    int m_status;
    QByteArray m_body;
};

/// Why there is no reply.
class TransportError
{
public:
    enum class Kind {
        refusedAddress, ///< not an address that may be used; nothing was sent
        refusedHeader,  ///< a header has control characters; nothing was sent
        unreadableFile, ///< the file to send cannot be read, or changed while it was sent
        noConnection,   ///< the name or the other side could not be reached
        timedOut,       ///< no data in either direction for 60 seconds
        untrusted,      ///< the certificate was not accepted
        brokenReply,    ///< the connection ended early, or what came is not HTTP
        cancelled,      ///< the session was closed
    };

    TransportError(Kind kind, QString technicalText)
        : m_kind(kind)
        , m_technicalText(std::move(technicalText))
    {
    }

    Kind kind() const { return m_kind; }
    const QString &technicalText() const { return m_technicalText; }

    /// A Chinese sentence for the user, with the technical text behind it.
    QString description() const;

private:
    Kind m_kind;
    QString m_technicalText;
};

/// The outcome of a request.
using HttpOutcome = std::expected<HttpReply, TransportError>;

/// The one HTTP session of the process. Any number of requests at once; main thread.
///
/// No cookies, no cache, no redirects, no resending. Only https addresses, and http to loopback
/// where the session was made to allow that.
class HttpSession
{
public:
    virtual ~HttpSession() = default;

    /// A reply's body is bounded (8 MiB): of a longer one nothing is kept, or the beginning where
    /// the status means a failure. That of a success in answer to a file is not kept. In the body
    /// of a failure the request's credentials are concealed.
    virtual QCoro::Task<HttpOutcome> send(HttpRequest request) = 0;
};
