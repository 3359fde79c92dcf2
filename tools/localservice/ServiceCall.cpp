#include "tools/localservice/ServiceCall.h"

#include "tools/localservice/Misbehaviour.h"

#include <QJsonDocument>
#include <QUrlQuery>

using namespace Qt::StringLiterals;

namespace
{

/// What is no request has no method.
ReceivedRequest parsed(const QByteArray &head)
{
    ReceivedRequest result;
    QList<QByteArray> lines = head.split('\n');
    const QList<QByteArray> start = lines.takeFirst().split(' ');
    if (start.size() != 3)
        return result;
    result.method = start[0];
    result.target = start[1];
    for (const QByteArray &line : lines) {
        const qsizetype colon = line.indexOf(':');
        if (colon > 0)
            result.headers.append({line.first(colon), line.sliced(colon + 1).trimmed()});
    }
    return result;
}

} // namespace

ServiceCall::ServiceCall(ServedSocket socket, RequestLog &log)
    : m_socket(socket)
    , m_log(log)
{
    const QByteArray received = m_socket.readHead();
    const qsizetype end = received.indexOf("\r\n\r\n");
    m_entry = log.add(parsed(received.first(std::max<qsizetype>(end, 0))));
    m_address = QUrl(QString::fromLatin1(m_entry->target));
    m_readAhead = received.sliced(end < 0 ? received.size() : end + 4);
    m_bodyLeft = header("Content-Length").toLongLong();
}

QString ServiceCall::parameter(const QString &name) const
{
    return QUrlQuery(m_address).queryItemValue(name, QUrl::FullyDecoded);
}

bool ServiceCall::readBody(qint64 limit, const std::function<bool(QByteArrayView)> &target)
{
    constexpr qint64 pieceBytes = 256 * 1024;
    qint64 wanted = limit < 0 ? m_bodyLeft : std::min(limit, m_bodyLeft);
    while (wanted > 0) {
        if (m_readAhead.isEmpty())
            m_readAhead = m_socket.read(std::min(wanted, pieceBytes));
        const QByteArray piece = m_readAhead.first(std::min<qint64>(wanted, m_readAhead.size()));
        m_readAhead.remove(0, piece.size());
        wanted -= piece.size();
        m_bodyLeft -= piece.size();
        m_log.addBody(m_entry, piece);
        if (piece.isEmpty() || !target(piece))
            return false;
    }
    return true;
}

QByteArray ServiceCall::readText()
{
    QByteArray body;
    readBody(-1, [&](QByteArrayView bytes) {
        body.append(bytes);
        return true;
    });
    return body;
}

QJsonObject ServiceCall::readJson()
{
    return QJsonDocument::fromJson(readText()).object();
}

void ServiceCall::answer(int status, const QByteArray &body, const QByteArray &type,
                         const QByteArray &fields)
{
    m_head = Misbehaviour::replyHead(status, body.size(), type, fields);
    m_body = body;
}

void ServiceCall::answer(int status, const QJsonObject &body)
{
    answer(status, QJsonDocument(body).toJson(QJsonDocument::Compact), "application/json");
}

void ServiceCall::answerPage(int status, const QByteArray &page, const QByteArray &fields)
{
    answer(status, page, "text/html; charset=utf-8", fields);
}

void ServiceCall::answerFile(const QString &path, const QByteArray &type)
{
    m_file.setFileName(path);
    if (!m_file.open(QIODevice::ReadOnly))
        return answer(404, {}, type);
    const uchar *const bytes = m_file.map(0, m_file.size());
    answer(
        200,
        QByteArray::fromRawData(reinterpret_cast<const char *>(bytes), bytes ? m_file.size() : 0),
        type);
}

void ServiceCall::sendAnswer()
{
    readBody(-1, [](QByteArrayView) { return true; });
    m_socket.send(m_head);
    m_socket.send(m_body);
    m_socket.finish();
}
