#pragma once

#include <QString>

#include <utility>

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
    QString description() const
    {
        return QStringLiteral("服务器的回复无法解析：") + m_technicalText;
    }

    bool operator==(const DecodingError &) const = default;

private:
    QString m_technicalText;
};
