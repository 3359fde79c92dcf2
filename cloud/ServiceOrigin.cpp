#include "cloud/ServiceOrigin.h"

#include "platform/WebAddress.h"

#include <QUrl>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
std::unexpected<Error> wronglyConfigured(const QString &reason)
{
    return std::unexpected(Error(u"服务地址配置有误："_s + reason));
}

/// The path, query and fragment of \p address.
QString afterHost(const QString &address)
{
    const QString rest = address.sliced(address.indexOf("://"_L1) + 3);
    const auto end = std::ranges::find_if(
        rest, [](QChar character) { return QStringView(u"/?#").contains(character); });
    return rest.sliced(end - rest.begin());
}
} // namespace

std::expected<ServiceOrigin, Error> ServiceOrigin::parse(const QString &text)
{
    const auto address = WebAddress::parse(text, WebAddress::LoopbackHttp::allowed);
    if (!address)
        return wronglyConfigured(address.error().description());
    const QString rest = afterHost(text);
    if (!rest.isEmpty() && rest != "/"_L1)
        return wronglyConfigured(u"只能包含协议和主机"_s);
    return ServiceOrigin(text.chopped(rest.size()), address->isLoopback());
}

ServiceOrigin::ServiceOrigin(QString text, bool isLoopback)
    : m_text(std::move(text))
    , m_isLoopback(isLoopback)
{
}

QString ServiceOrigin::signInPage(const QString &state) const
{
    return m_text + "/desktop-auth?state="_L1 + QString::fromLatin1(QUrl::toPercentEncoding(state));
}

QString ServiceOrigin::appPage() const
{
    return m_text + "/app"_L1;
}

QString ServiceOrigin::meetingPage(const QString &meetingId) const
{
    // A browser takes these for steps in the path even when they are percent-encoded.
    if (meetingId == "."_L1 || meetingId == ".."_L1)
        return appPage();
    return m_text + "/app/meetings/"_L1 + QString::fromLatin1(QUrl::toPercentEncoding(meetingId));
}

QString ServiceOrigin::downloadPage() const
{
    return m_text + "/#download"_L1;
}

bool ServiceOrigin::allows(const QString &address) const
{
    const auto parsed = WebAddress::parse(address, WebAddress::LoopbackHttp::allowed);
    return parsed && (m_isLoopback || !parsed->isLoopback());
}
