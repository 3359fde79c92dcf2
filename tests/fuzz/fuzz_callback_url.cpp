#include "cloud/CallbackUrl.h"
#include "cloud/ServiceRequests.h"
#include "tests/fuzz/Fuzz.h"

#include <algorithm>
#include <cctype>

namespace
{
bool isPlain(const QString &name)
{
    return std::ranges::all_of(name, [](QChar c) { return c > u' ' && c <= u'~'; });
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString text = QString::fromUtf8(bytes(data, size));
    const CallbackUrl url(text);

    require(!url.scheme() || text.startsWith(*url.scheme() + u':'), "the scheme is the beginning");
    require(!url.host() || url.scheme(), "no host without a scheme");
    require(!url.host() || (isPlain(*url.host()) && text.contains(*url.host())),
            "the host is plain and stands in the text");
    for (const QStringView name : {u"token", u"state", u"email"}) {
        const auto value = url.value(name);
        require(!value || url.hasItem(name), "a value belongs to an item");
        require(!value || value->isValidUtf16(), "a value is text");
        require(!value || value->size() <= text.size(), "a value does not grow");
    }
    const auto token = url.value(u"token");
    if (token && ServiceRequests::isUsableToken(*token)) {
        static const auto origin = ServiceOrigin::parse(QStringLiteral("https://s.example"));
        const HttpRequest request = ServiceRequests::identity(*origin, *token);
        const QByteArray header = request.headers().first().value;
        require(QString::fromUtf8(header) == QStringLiteral("JWT ") + *token,
                "the header holds the token unchanged");
        require(std::ranges::none_of(header, [](char c) { return std::iscntrl(c) != 0; }),
                "the header is one line");
    }
    return 0;
}
