#pragma once

#include "tools/localservice/RequestLog.h"
#include "tools/localservice/SocketServer.h"

#include <QByteArrayView>
#include <QFile>
#include <QJsonObject>
#include <QUrl>

#include <functional>

/// One request to the service, with its answer: the only one of its connection. On the thread that
/// serves it.
class ServiceCall
{
public:
    /// Reads the head of the request and puts it into \p log, which outlives the call.
    ServiceCall(ServedSocket socket, RequestLog &log);

    /// Decoded.
    QString path() const { return m_address.path(); }

    /// The last part of the path.
    QString name() const { return m_address.fileName(); }

    /// Decoded; empty when the address has no such parameter.
    QString parameter(const QString &name) const;

    QByteArray method() const { return m_entry->method; }
    QByteArray header(QByteArrayView name) const { return m_entry->header(name); }

    /// Reads the body, or at most its next \p limit bytes (-1: all), on to \p target. False when it
    /// ends early or the target wants no more.
    bool readBody(qint64 limit, const std::function<bool(QByteArrayView)> &target);
    QByteArray readText();
    QJsonObject readJson();

    /// They keep the answer until it is sent; \p fields are whole lines of the head.
    void answer(int status, const QByteArray &body, const QByteArray &type,
                const QByteArray &fields = {});
    void answer(int status, const QJsonObject &body);
    void answerPage(int status, const QByteArray &page, const QByteArray &fields = {});

    /// 404 when it cannot be opened.
    void answerFile(const QString &path, const QByteArray &type);

    /// Sends the answer, once the whole request is read.
    void sendAnswer();

    ServedSocket &socket() { return m_socket; }

private:
    ServedSocket m_socket;
    RequestLog &m_log;
    RequestLog::Entry m_entry;
    QUrl m_address;
    QByteArray m_readAhead; ///< of the body, with the head
    qint64 m_bodyLeft = 0;
    QFile m_file;
    QByteArray m_head;
    QByteArray m_body;
};
