#include "cloud/JsonMembers.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace
{
bool isText(const QJsonValue &value)
{
    return value.isString() && value.toString().isValidUtf16();
}
} // namespace

QString DecodingError::description() const
{
    return u"服务器的回复无法解析："_s + m_technicalText;
}

std::expected<QJsonObject, DecodingError> parsedObject(const QByteArray &text)
{
    QJsonParseError error;
    const auto document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError) {
        return std::unexpected(DecodingError(
            u"%1 (%2 of %3 bytes)"_s.arg(error.errorString()).arg(error.offset).arg(text.size())));
    }
    if (!document.isObject())
        return std::unexpected(DecodingError(u"not an object"_s));
    return document.object();
}

QString JsonMembers::text(const QString &name)
{
    const QJsonValue value = m_object.value(name);
    require(isText(value), name, "a string");
    return value.toString();
}

std::optional<QString> JsonMembers::optionalText(const QString &name)
{
    const QJsonValue value = m_object.value(name);
    if (value.isUndefined() || value.isNull())
        return std::nullopt;
    require(isText(value), name, "a string");
    return value.toString();
}

QString JsonMembers::shortText(const QString &name)
{
    const QString value = text(name);
    require(isShort(value), name, "at most 1 KiB long");
    return value;
}

std::optional<QString> JsonMembers::optionalShortText(const QString &name)
{
    const auto value = optionalText(name);
    require(!value || isShort(*value), name, "at most 1 KiB long");
    return value;
}

QJsonObject JsonMembers::object(const QString &name)
{
    const QJsonValue value = m_object.value(name);
    require(value.isObject(), name, "an object");
    return value.toObject();
}

QJsonArray JsonMembers::array(const QString &name)
{
    const QJsonValue value = m_object.value(name);
    require(value.isArray(), name, "an array");
    return value.toArray();
}

void JsonMembers::require(bool holds, const QString &name, const char *kind)
{
    if (!holds && !m_error)
        m_error = DecodingError(u"\"%1\" is not %2"_s.arg(name, QLatin1String(kind)));
}
