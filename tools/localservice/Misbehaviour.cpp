#include "tools/localservice/Misbehaviour.h"

using namespace Qt::StringLiterals;

QByteArray Misbehaviour::replyHead(int status, qsizetype bodyBytes, const QByteArray &contentType,
                                   const QByteArray &fields)
{
    return "HTTP/1.1 " + QByteArray::number(status) +
           " Answer\r\nContent-Length: " + QByteArray::number(bodyBytes) +
           "\r\nContent-Type: " + contentType + "\r\n" + fields + "Connection: close\r\n\r\n";
}

Misbehaviour Misbehaviour::answered(int status, const QByteArray &body,
                                    const QByteArray &contentType)
{
    return bytes(replyHead(status, body.size(), contentType) + body);
}

Misbehaviour Misbehaviour::redirected(int status, const QByteArray &location)
{
    return bytes(replyHead(status, 0, "text/plain", "Location: " + location + "\r\n"));
}

Misbehaviour Misbehaviour::bytes(const QByteArray &raw)
{
    Misbehaviour result;
    result.m_raw = raw;
    return result;
}

Misbehaviour Misbehaviour::dripped(const QByteArray &body, std::chrono::milliseconds interval)
{
    Misbehaviour result = answered(200, body);
    result.m_byteInterval = interval;
    return result;
}

Misbehaviour Misbehaviour::cutOff(const QByteArray &body, qsizetype keptBytes)
{
    return bytes(replyHead(200, body.size(), "application/json") +
                 body.first(std::min(keptBytes, body.size())));
}

Misbehaviour Misbehaviour::oversized(qsizetype bodyBytes)
{
    return answered(200, R"({"filler":")" + QByteArray(bodyBytes, 'x') + R"("})");
}

Misbehaviour Misbehaviour::closed(qint64 afterBodyBytes)
{
    Misbehaviour result;
    result.m_bodyBytesRead = afterBodyBytes;
    result.m_resets = true;
    return result;
}

Misbehaviour Misbehaviour::replyLost()
{
    Misbehaviour result;
    result.m_doesWhatIsAsked = true;
    return result;
}

Misbehaviour Misbehaviour::late(std::chrono::milliseconds delay)
{
    Misbehaviour result;
    result.m_doesWhatIsAsked = true;
    result.m_answersProperly = true;
    result.m_delay = delay;
    return result;
}

std::optional<Misbehaviour> Misbehaviour::parse(const QString &text)
{
    const QString kind = text.section(u':', 0, 0);
    const QString argument = text.section(u':', 1);
    bool isNumber = false;
    const qint64 number = argument.toLongLong(&isNumber);
    const std::chrono::milliseconds time(number);
    const QByteArray json = R"({"doc":{"id":"1"},"meetings":[],"user":{}})";

    if (kind == "redirect"_L1 && !argument.isEmpty())
        return redirected(302, argument.toUtf8());
    if (kind == "garbage"_L1)
        return bytes("\x16\x03\x01garbage\r\n\r\n");
    if (kind == "lost"_L1)
        return replyLost();
    if (!isNumber || number < 0)
        return std::nullopt;
    if (kind == "status"_L1)
        return answered(static_cast<int>(number), "{}");
    if (kind == "delay"_L1)
        return late(time);
    if (kind == "drip"_L1)
        return dripped(json, time);
    if (kind == "cut"_L1)
        return cutOff(json, number);
    if (kind == "oversized"_L1)
        return oversized(number);
    if (kind == "close"_L1)
        return closed(number);
    return std::nullopt;
}

QString Misbehaviour::kinds()
{
    return u"status:CODE, redirect:ADDRESS, delay:MS, drip:MS, cut:BYTES, oversized:BYTES, "
           "close:BYTES, garbage, lost"_s;
}
