#include "tools/localservice/ServiceCall.h"

#include <QJsonDocument>

namespace
{

ReceivedRequest received(const httplib::Request &request)
{
    ReceivedRequest result{.method = QByteArray::fromStdString(request.method),
                           .target = QByteArray::fromStdString(request.target),
                           .headers = {},
                           .body = {}};
    for (const auto &[name, value] : request.headers) {
        // The library adds what it knows of the connection.
        if (!name.starts_with("REMOTE_") && !name.starts_with("LOCAL_"))
            result.headers.append(
                {QByteArray::fromStdString(name), QByteArray::fromStdString(value)});
    }
    return result;
}

} // namespace

ServiceCall::ServiceCall(RequestLog &log, const httplib::Request &asked,
                         httplib::Response &answered, const httplib::ContentReader *reader)
    : request(asked)
    , response(answered)
    , m_log(log)
    , m_reader(reader)
    , m_entry(log.add(received(asked)))
{
}

bool ServiceCall::readBody(qint64 limit, const std::function<bool(QByteArrayView)> &target)
{
    if (!m_reader || limit == 0)
        return true;
    return (*m_reader)([&](const char *data, size_t size) {
        const QByteArrayView bytes(data, static_cast<qsizetype>(size));
        m_log.addBody(m_entry, bytes);
        return target(bytes) && (limit < 0 || m_entry->bodyBytes < limit);
    });
}

QJsonObject ServiceCall::readJson()
{
    QByteArray body;
    readBody(-1, [&](QByteArrayView bytes) {
        body.append(bytes);
        return true;
    });
    return QJsonDocument::fromJson(body).object();
}

void ServiceCall::answer(int status, const QByteArray &body, const char *type)
{
    response.status = status;
    response.set_content(body.constData(), static_cast<size_t>(body.size()), type);
}

void ServiceCall::answer(int status, const QJsonObject &body)
{
    answer(status, QJsonDocument(body).toJson(QJsonDocument::Compact), "application/json");
}

void ServiceCall::answerPage(int status, const QByteArray &page)
{
    answer(status, page, "text/html; charset=utf-8");
}
