#include "cloud/JsonMembers.h"

#include "cloud/PresentableText.h"

#include <QRegularExpression>

#include <charconv>
#include <string_view>

using namespace Qt::StringLiterals;

namespace
{
/// Whether \p token is a number of JSON that no 64 bits hold.
bool isHuge(const QByteArray &token)
{
    static const QRegularExpression number(uR"(^-?(0|[1-9]\d*)(\.\d+)?([eE][+-]?\d+)?$)"_s);
    const auto parts = number.match(QString::fromLatin1(token));
    const bool isInteger = parts.capturedLength(2) <= 0 && parts.capturedLength(3) <= 0;
    qint64 integer = 0;
    double value = 0;
    const char *const end = token.cend();
    const auto result = isInteger ? std::from_chars(token.cbegin(), end, integer)
                                  : std::from_chars(token.cbegin(), end, value);
    return parts.hasMatch() && result.ec == std::errc::result_out_of_range;
}

/// The end of the string that begins at \p start, or of the text.
qsizetype endOfString(const QByteArray &text, qsizetype start)
{
    qsizetype end = start + 1;
    while (end < text.size() && text[end] != '"')
        end += text[end] == '\\' ? 2 : 1;
    return std::min(end + 1, text.size());
}

/// The end of the run of a number's characters that begins at \p start.
qsizetype endOfNumber(const QByteArray &text, qsizetype start)
{
    qsizetype end = start;
    while (end < text.size() && QByteArrayView("0123456789+-.eE").contains(text[end]))
        ++end;
    return end;
}

QByteArray withoutHugeNumbers(const QByteArray &text)
{
    QByteArray result;
    result.reserve(text.size());
    for (qsizetype start = 0, end = 0; start < text.size(); start = end) {
        end = text[start] == '"' ? endOfString(text, start) : endOfNumber(text, start);
        if (end == start)
            result += text[end++];
        else if (text[start] != '"' && isHuge(text.sliced(start, end - start)))
            result += "0.5";
        else
            result.append(text.constData() + start, end - start);
    }
    return result;
}

simdjson::simdjson_result<simdjson::dom::element> parsed(simdjson::dom::parser &parser,
                                                         const QByteArray &text)
{
    const qsizetype mark = text.startsWith("\xef\xbb\xbf") ? 3 : 0;
    return parser.parse(text.constData() + mark, static_cast<size_t>(text.size() - mark));
}
} // namespace

std::expected<JsonDocument, DecodingError> JsonDocument::parse(const QByteArray &text)
{
    JsonDocument document;
    document.m_parser = std::make_unique<simdjson::dom::parser>();
    auto root = parsed(*document.m_parser, text);
    if (root.error() != simdjson::SUCCESS)
        root = parsed(*document.m_parser, withoutHugeNumbers(text));
    if (root.error() != simdjson::SUCCESS) {
        return std::unexpected(
            DecodingError(QString::fromLatin1(simdjson::error_message(root.error()))));
    }
    if (root.get(document.m_root) != simdjson::SUCCESS)
        return std::unexpected(DecodingError(u"not an object"_s));
    return document;
}

QString JsonMembers::text(const char *name)
{
    std::string_view utf8;
    require(m_object[name].get(utf8) == simdjson::SUCCESS, name, "a string");
    return QString::fromUtf8(utf8);
}

std::optional<QString> JsonMembers::optionalText(const char *name)
{
    simdjson::dom::element value;
    const bool isThere = m_object[name].get(value) == simdjson::SUCCESS && !value.is_null();
    return isThere ? std::optional(text(name)) : std::nullopt;
}

QString JsonMembers::shortText(const char *name)
{
    const QString value = text(name);
    require(isShort(value), name, "at most 1 KiB long");
    return value;
}

std::optional<QString> JsonMembers::optionalShortText(const char *name)
{
    const auto value = optionalText(name);
    require(!value || isShort(*value), name, "at most 1 KiB long");
    return value;
}

std::optional<simdjson::dom::object> JsonMembers::object(const char *name)
{
    simdjson::dom::object value;
    const bool isObject = m_object[name].get(value) == simdjson::SUCCESS;
    require(isObject, name, "an object");
    return isObject ? std::optional(value) : std::nullopt;
}

std::optional<simdjson::dom::array> JsonMembers::array(const char *name)
{
    simdjson::dom::array value;
    const bool isArray = m_object[name].get(value) == simdjson::SUCCESS;
    require(isArray, name, "an array");
    return isArray ? std::optional(value) : std::nullopt;
}

void JsonMembers::require(bool holds, const char *name, const char *kind)
{
    if (!holds && !m_error)
        m_error =
            DecodingError(u"\"%1\" is not %2"_s.arg(QLatin1String(name), QLatin1String(kind)));
}
