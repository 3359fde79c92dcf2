#pragma once

#include "cloud/DecodingError.h"

#include <QByteArray>
#include <QString>

#include <simdjson.h>

#include <expected>
#include <memory>
#include <optional>

/// A JSON object with all that is in it, read as strictly as the list of recordings: valid UTF-8,
/// no half of a surrogate pair, at most 1024 levels. A mark of the byte order in front is forgiven.
/// The first of two members with one name counts.
class JsonDocument
{
public:
    /// A number beyond all that the parser knows makes nothing unreadable: it becomes a fraction.
    static std::expected<JsonDocument, DecodingError> parse(const QByteArray &text);

    /// The view is valid as long as the document lives.
    simdjson::dom::object root() const { return m_root; }

private:
    std::unique_ptr<simdjson::dom::parser> m_parser; ///< holds everything
    simdjson::dom::object m_root;
};

/// Takes the members of one object by name and kind, and remembers the first one that was not as it
/// has to be. The document must outlive it.
class JsonMembers
{
public:
    explicit JsonMembers(simdjson::dom::object object)
        : m_object(object)
    {
    }

    QString text(const char *name);

    /// The text of a member; none where it is absent or null.
    std::optional<QString> optionalText(const char *name);

    /// The same for what is kept and shown: a longer text than isShort() allows is no such text.
    QString shortText(const char *name);
    std::optional<QString> optionalShortText(const char *name);

    // These return none where the member is not as it has to be.
    std::optional<simdjson::dom::object> object(const char *name);
    std::optional<simdjson::dom::array> array(const char *name);

    const std::optional<DecodingError> &error() const { return m_error; }

private:
    void require(bool holds, const char *name, const char *kind);

    simdjson::dom::object m_object;
    std::optional<DecodingError> m_error;
};
