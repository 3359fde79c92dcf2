#include "cloud/CallbackUrl.h"

#include <QByteArray>
#include <QStringDecoder>

#include <algorithm>

namespace
{
constexpr qsizetype maxLength = 64 * 1024;
constexpr qsizetype maxHostLength = 253; // RFC 1035

bool isLetter(QChar character)
{
    return (character >= u'a' && character <= u'z') || (character >= u'A' && character <= u'Z');
}

bool isDigit(QChar character)
{
    return character >= u'0' && character <= u'9';
}

bool isControl(QChar character)
{
    return character.category() == QChar::Other_Control;
}

// RFC 3986, section 3.1. Bounded, because it is logged.
bool isScheme(QStringView text)
{
    return !text.isEmpty() && text.size() <= maxHostLength && isLetter(text.front()) &&
           std::ranges::all_of(text, [](QChar character) {
               return isLetter(character) || isDigit(character) ||
                      QStringView(u"+-.").contains(character);
           });
}

// Narrower than a registered name of RFC 3986: what belongs into a query never passes for a host.
bool isHost(QStringView text)
{
    return !text.isEmpty() && text.size() <= maxHostLength &&
           std::ranges::all_of(text, [](QChar character) {
               return isLetter(character) || isDigit(character) ||
                      QStringView(u"-._~").contains(character);
           });
}

qsizetype firstOf(QStringView text, QStringView characters)
{
    const auto found = std::ranges::find_if(
        text, [characters](QChar character) { return characters.contains(character); });
    return found - text.begin();
}

/// The host in "user@host:port"; none where it is no host.
std::optional<QString> hostOf(QStringView authority)
{
    const QStringView hostAndPort = authority.sliced(authority.lastIndexOf(u'@') + 1);
    const qsizetype colon = firstOf(hostAndPort, u":");
    const QStringView host = hostAndPort.first(colon);
    const QStringView port = hostAndPort.sliced(std::min(colon + 1, hostAndPort.size()));
    if (!isHost(host) || !std::ranges::all_of(port, isDigit))
        return std::nullopt;
    return host.toString();
}

std::optional<char> byteOf(QStringView digits)
{
    const auto isHex = [](QChar character) {
        return isDigit(character) || QStringView(u"abcdefABCDEF").contains(character);
    };
    if (digits.size() != 2 || !std::ranges::all_of(digits, isHex))
        return std::nullopt;
    return static_cast<char>(digits.toUInt(nullptr, 16));
}

std::optional<QString> percentDecoded(QStringView text)
{
    QByteArray bytes;
    while (!text.isEmpty()) {
        const qsizetype plain = firstOf(text, u"%");
        bytes += text.first(plain).toUtf8();
        text = text.sliced(plain);
        if (text.isEmpty())
            break;
        const auto byte = byteOf(text.mid(1, 2));
        if (!byte)
            return std::nullopt;
        bytes += *byte;
        text = text.sliced(3);
    }
    // Decode without removing a byte order mark, which is a character of the value.
    QStringDecoder decode(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
    QString decoded = decode(bytes);
    if (decode.hasError())
        return std::nullopt;
    return decoded;
}
} // namespace

CallbackUrl::CallbackUrl(const QString &text)
{
    if (text.size() > maxLength || !text.isValidUtf16() || std::ranges::any_of(text, isControl))
        return;
    const qsizetype colon = firstOf(text, u":");
    const QStringView scheme = QStringView(text).first(colon);
    if (colon == text.size() || !isScheme(scheme))
        return;
    m_scheme = scheme.toString();

    QStringView rest = QStringView(text).sliced(colon + 1);
    rest = rest.first(firstOf(rest, u"#"));
    const qsizetype question = firstOf(rest, u"?");
    const QStringView hierarchy = rest.first(question);
    if (hierarchy.startsWith(u"//")) {
        const QStringView authority = hierarchy.sliced(2);
        m_host = hostOf(authority.first(firstOf(authority, u"/")));
    }
    if (question == rest.size())
        return;
    for (const QStringView item : rest.sliced(question + 1).tokenize(u'&'))
        addItem(item);
}

void CallbackUrl::addItem(QStringView text)
{
    const qsizetype equals = firstOf(text, u"=");
    const auto name = percentDecoded(text.first(equals));
    if (!name)
        return;
    const auto value =
        equals < text.size() ? percentDecoded(text.sliced(equals + 1)) : std::nullopt;
    m_items.append(Item{*name, value});
}

const CallbackUrl::Item *CallbackUrl::firstItem(QStringView name) const
{
    const auto found = std::ranges::find(m_items, name, &Item::name);
    return found == m_items.end() ? nullptr : &*found;
}

bool CallbackUrl::hasItem(QStringView name) const
{
    return firstItem(name) != nullptr;
}

std::optional<QString> CallbackUrl::value(QStringView name) const
{
    const Item *const item = firstItem(name);
    return item ? item->value : std::nullopt;
}
