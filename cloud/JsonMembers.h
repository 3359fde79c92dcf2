#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <expected>
#include <optional>

/// Why bytes are not the record that was expected. Names members and kinds, never their contents:
/// some of them are secrets.
class DecodingError
{
public:
    explicit DecodingError(QString technicalText)
        : m_technicalText(std::move(technicalText))
    {
    }

    /// The sentence that the user reads, with the technical text behind it.
    QString description() const;

    bool operator==(const DecodingError &) const = default;

private:
    QString m_technicalText;
};

/// The JSON object that \p text is, as UTF-8. Bounded: the parser refuses a depth above 1024. Of
/// two members with one name the last counts.
std::expected<QJsonObject, DecodingError> parsedObject(const QByteArray &text);

/// Takes the members of one object by name and kind, and remembers the first one that was not as it
/// has to be. A text with half a surrogate pair counts as no text.
class JsonMembers
{
public:
    explicit JsonMembers(QJsonObject object)
        : m_object(std::move(object))
    {
    }

    QString text(const QString &name);

    /// None where the member is absent or null.
    std::optional<QString> optionalText(const QString &name);

    /// The same for what is kept and shown: a longer text than isShort() allows is no such text.
    QString shortText(const QString &name);
    std::optional<QString> optionalShortText(const QString &name);
    static bool isShort(const QString &text) { return text.toUtf8().size() <= 1024; }

    QJsonObject object(const QString &name);
    QJsonArray array(const QString &name);

    const std::optional<DecodingError> &error() const { return m_error; }

private:
    void require(bool holds, const QString &name, const char *kind);

    QJsonObject m_object;
    std::optional<DecodingError> m_error;
};
