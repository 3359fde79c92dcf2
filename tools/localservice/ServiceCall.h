#pragma once

#include "tools/localservice/RawServer.h"
#include "tools/localservice/RequestLog.h"

#include <QByteArrayView>
#include <QJsonObject>

#include <functional>

/// One request to the service, with what its answer needs. On the thread that serves it.
class ServiceCall
{
public:
    /// Puts the request into \p log. All that is given outlives the call; \p reader is none where
    /// there is no body.
    ServiceCall(RequestLog &log, const httplib::Request &asked, httplib::Response &answered,
                const httplib::ContentReader *reader = nullptr);

    /// Reads the body, or at most its first \p limit bytes (-1: all), on to \p target. False when
    /// it ends early.
    bool readBody(qint64 limit, const std::function<bool(QByteArrayView)> &target);
    QJsonObject readJson();

    void answer(int status, const QByteArray &body, const char *type);
    void answer(int status, const QJsonObject &body);
    void answerPage(int status, const QByteArray &page);

    const httplib::Request &request;
    httplib::Response &response;

private:
    RequestLog &m_log;
    const httplib::ContentReader *m_reader;
    RequestLog::Entry m_entry;
};
