#pragma once

#include <QString>

/// A failure of the platform underneath, as a sentence that a person may read.
///
/// A class with a constructor, not an aggregate, so that it can be made inside an await expression.
class Error
{
public:
    explicit Error(QString description)
        : m_description(std::move(description))
    {
    }

    const QString &description() const { return m_description; }

    bool operator==(const Error &) const = default;

private:
    QString m_description;
};

/// What went wrong by errno's \p number, to end a sentence with. The system's own texts are in the
/// language of its locale, which need not be that of the sentence.
QString systemErrorText(int number);
