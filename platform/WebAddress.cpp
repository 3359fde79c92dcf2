#include "platform/WebAddress.h"

#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

/// Far more than any real address, far less than what makes a request a burden.
constexpr qsizetype longestAddress = 64 * 1024;

bool isControl(QChar character)
{
    return character.unicode() < 0x20 || character.unicode() == 0x7f;
}

bool isLoopbackHost(const QString &host)
{
    static const QRegularExpression loopback(
        uR"(^(localhost|127(\.(25[0-5]|2[0-4]\d|1?\d?\d)){3}|\[::1\])$)"_s,
        QRegularExpression::CaseInsensitiveOption);
    return loopback.match(host).hasMatch();
}

/// The port; none where the address has none.
bool isPossiblePort(const QString &port)
{
    if (port.isNull())
        return true;
    const int number = port.toInt();
    return number > 0 && number <= 65535;
}

QByteArray percentEncoded(const QString &text)
{
    QByteArray encoded;
    for (const char byte : text.toUtf8()) {
        if (byte > ' ' && byte < '\x7f')
            encoded += byte;
        else
            encoded += '%' + QByteArray(1, byte).toHex().toUpper();
    }
    return encoded;
}

} // namespace

std::expected<WebAddress, Error> WebAddress::parse(const QString &text, LoopbackHttp loopbackHttp)
{
    static const QRegularExpression absolute(uR"(^([A-Za-z][A-Za-z0-9+.-]*)://([^/?#]*)(.*)$)"_s);
    static const QRegularExpression plainAuthority(
        uR"(^([A-Za-z0-9](?:[A-Za-z0-9._-]*[A-Za-z0-9])?|\[[0-9A-Fa-f:.]+\])(?::(\d{1,5}))?$)"_s);

    if (text.size() > longestAddress)
        return std::unexpected(Error(u"地址过长"_s));
    if (std::ranges::any_of(text, isControl))
        return std::unexpected(Error(u"地址含有控制字符"_s));
    const QRegularExpressionMatch parts = absolute.match(text);
    if (!parts.hasMatch())
        return std::unexpected(Error(u"不是完整的网址"_s));
    const QString scheme = parts.captured(1).toLower();
    if (scheme != "https"_L1 && scheme != "http"_L1)
        return std::unexpected(Error(u"只能使用 https 地址"_s));
    if (parts.captured(2).contains(u'@'))
        return std::unexpected(Error(u"地址不能包含用户信息"_s));
    const QRegularExpressionMatch authority = plainAuthority.match(parts.captured(2));
    const QString port = authority.capturedLength(2) > 0 ? authority.captured(2) : QString();
    if (!authority.hasMatch() || !isPossiblePort(port))
        return std::unexpected(Error(u"地址中的主机无效"_s));

    const bool isLoopback = isLoopbackHost(authority.captured(1));
    if (scheme == "http"_L1 && (!isLoopback || loopbackHttp == LoopbackHttp::refused))
        return std::unexpected(Error(u"只能使用 https 地址"_s));
    return WebAddress(percentEncoded(text), isLoopback);
}
