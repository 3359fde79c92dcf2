#include "core/RecentsCoding.h"

#include "base/RawValue.h"

#include <simdjson.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string_view>

using namespace Qt::StringLiterals;

namespace
{
constexpr QLatin1StringView idKey("id");
constexpr QLatin1StringView titleKey("title");
constexpr QLatin1StringView durationKey("duration");
constexpr QLatin1StringView durationSecondsKey("durationSeconds");
constexpr QLatin1StringView whenKey("when");
constexpr QLatin1StringView startedAtKey("startedAt");
constexpr QLatin1StringView statusKey("status");
constexpr QLatin1StringView fileURLKey("fileURL");
constexpr QLatin1StringView uploadProgressKey("uploadProgress");
constexpr QLatin1StringView remoteIDKey("remoteID");
constexpr QLatin1StringView clientRecordingIdKey("clientRecordingId");

// The file counts seconds from 2001-01-01 00:00:00 UTC, Qt milliseconds from 1970.
constexpr qint64 fileEpoch = 978'307'200'000;

/// Dates outside the years 1 to 9999 become the nearest one inside.
QDateTime decodedDate(double seconds)
{
    constexpr double first = -63'113'904'000.0;
    constexpr double last = 252'423'993'599.0;
    const qint64 milliseconds = std::llround(std::clamp(seconds, first, last) * 1000.0);
    static const QDateTime epoch = QDateTime::fromMSecsSinceEpoch(fileEpoch).toUTC();
    return epoch.addMSecs(milliseconds);
}

/// Appends one JSON object. By hand, because the list is saved at every change on the main thread,
/// and a document object takes several times as long.
class ObjectWriter
{
public:
    explicit ObjectWriter(QByteArray &json)
        : m_json(json)
    {
        m_json += '{';
    }
    ObjectWriter(const ObjectWriter &) = delete;
    ObjectWriter &operator=(const ObjectWriter &) = delete;
    ~ObjectWriter() { m_json += '}'; }

    void text(QLatin1StringView key, const QByteArray &utf8)
    {
        appendKey(key);
        appendString(utf8);
    }

    void text(QLatin1StringView key, const QString &value) { text(key, value.toUtf8()); }

    void text(QLatin1StringView key, const std::optional<QString> &value)
    {
        if (value)
            text(key, *value);
    }

    void number(QLatin1StringView key, const QByteArray &value)
    {
        appendKey(key);
        m_json += value;
    }

private:
    void appendKey(QLatin1StringView key)
    {
        if (!m_json.endsWith('{'))
            m_json += ',';
        m_json.append('"').append(key.data(), key.size()).append("\":");
    }

    void appendString(const QByteArray &utf8)
    {
        m_json += '"';
        if (std::ranges::none_of(utf8, needsEscape))
            m_json += utf8;
        else
            std::ranges::for_each(utf8, [this](char byte) { appendEscaped(byte); });
        m_json += '"';
    }

    static bool needsEscape(char byte)
    {
        return byte == '"' || byte == '\\' || static_cast<uchar>(byte) < 0x20;
    }

    void appendEscaped(char byte)
    {
        if (static_cast<uchar>(byte) < 0x20)
            m_json += "\\u00" + QByteArray(1, byte).toHex();
        else if (needsEscape(byte))
            m_json.append('\\').append(byte);
        else
            m_json += byte;
    }

    QByteArray &m_json;
};

void appendEntry(QByteArray &json, const RecentSession &session)
{
    const auto startedAt = session.startedAt.toMSecsSinceEpoch() - fileEpoch;
    ObjectWriter object(json);
    object.text(idKey, session.id.toByteArray(QUuid::WithoutBraces).toUpper());
    object.text(titleKey, session.title);
    object.text(durationKey, session.duration);
    object.number(durationSecondsKey, QByteArray::number(session.durationSeconds));
    object.text(whenKey, session.when);
    object.number(startedAtKey, QByteArray::number(static_cast<double>(startedAt) / 1000, 'f', 3));
    object.text(statusKey, rawValue(session.status));
    if (session.fileURL)
        object.text(fileURLKey, session.fileURL->toEncoded());
    object.text(uploadProgressKey, session.uploadProgress);
    object.text(remoteIDKey, session.remoteID);
    object.text(clientRecordingIdKey, session.clientRecordingId);
}

/// Takes the members of one object; remembers whether one of them was not as it has to be.
class MemberReader
{
public:
    explicit MemberReader(simdjson::dom::object object)
        : m_object(object)
    {
    }

    bool isWhole() const { return m_isWhole; }

    QString text(QLatin1StringView key)
    {
        std::string_view utf8;
        require(member(key).get(utf8) == simdjson::SUCCESS);
        return QString::fromUtf8(utf8);
    }

    std::optional<QString> optionalText(QLatin1StringView key)
    {
        simdjson::dom::element value;
        const bool isThere = member(key).get(value) == simdjson::SUCCESS && !value.is_null();
        return isThere ? std::optional(text(key)) : std::nullopt;
    }

    double number(QLatin1StringView key)
    {
        double value = 0;
        require(member(key).get(value) == simdjson::SUCCESS);
        return value;
    }

    qint64 integer(QLatin1StringView key)
    {
        std::int64_t value = 0;
        if (member(key).get(value) == simdjson::SUCCESS)
            return value;
        // Written in another way, as 3.72e3.
        constexpr double beyond = 0x1p63;
        const double same = number(key);
        const bool isInteger = same >= -beyond && same < beyond && same == std::trunc(same);
        require(isInteger);
        return isInteger ? static_cast<qint64>(same) : 0;
    }

    QUuid uuid(QLatin1StringView key)
    {
        const QString value = text(key);
        const QUuid id = QUuid::fromString(value);
        // Qt reads further spellings; only the plain one gives the same text again.
        require(id.toString(QUuid::WithoutBraces).compare(value, Qt::CaseInsensitive) == 0);
        return id;
    }

    RecentSession::Status status(QLatin1StringView key)
    {
        const auto status = caseWithRawValue(sessionStatuses, text(key));
        require(status.has_value());
        return status.value_or(RecentSession::Status::ready);
    }

    std::optional<QUrl> optionalFileURL(QLatin1StringView key)
    {
        const auto value = optionalText(key);
        if (!value)
            return std::nullopt;
        QUrl url(*value);
        // An escaped NUL would end the path early for the system, behind another file's name.
        require(url.isValid() && url.isLocalFile() && url.path().startsWith(u'/') &&
                !url.toLocalFile().contains(QChar::Null));
        return url;
    }

private:
    simdjson::simdjson_result<simdjson::dom::element> member(QLatin1StringView key) const
    {
        return m_object[std::string_view(key.data(), static_cast<std::size_t>(key.size()))];
    }

    void require(bool holds) { m_isWhole = m_isWhole && holds; }

    simdjson::dom::object m_object;
    bool m_isWhole = true;
};

std::optional<RecentSession> decoded(simdjson::dom::element entry)
{
    simdjson::dom::object object;
    if (entry.get(object) != simdjson::SUCCESS)
        return std::nullopt;
    MemberReader reader(object);
    RecentSession session{
        .id = reader.uuid(idKey),
        .title = reader.text(titleKey),
        .duration = reader.text(durationKey),
        .durationSeconds = reader.integer(durationSecondsKey),
        .when = reader.text(whenKey),
        .startedAt = decodedDate(reader.number(startedAtKey)),
        .status = reader.status(statusKey),
        .fileURL = reader.optionalFileURL(fileURLKey),
        .uploadProgress = reader.optionalText(uploadProgressKey),
        .remoteID = reader.optionalText(remoteIDKey),
        .clientRecordingId = reader.optionalText(clientRecordingIdKey),
    };
    return reader.isWhole() ? std::optional(std::move(session)) : std::nullopt;
}
} // namespace

QByteArray encodeRecents(const QList<RecentSession> &sessions)
{
    QByteArray json = "[";
    for (const RecentSession &session : sessions) {
        if (json.size() > 1)
            json += ',';
        appendEntry(json, session);
    }
    return json + ']';
}

std::optional<QList<RecentSession>> decodeRecents(const QByteArray &content)
{
    simdjson::dom::parser parser;
    simdjson::dom::array entries;
    // An editor may have put a mark in front.
    const std::string_view text(content.data(), static_cast<std::size_t>(content.size()));
    const std::size_t mark = text.starts_with("\xef\xbb\xbf") ? 3 : 0;
    const auto parsed = parser.parse(text.data() + mark, text.size() - mark);
    if (parsed.get(entries) != simdjson::SUCCESS)
        return std::nullopt;
    QList<RecentSession> sessions;
    sessions.reserve(static_cast<qsizetype>(entries.size()));
    for (const simdjson::dom::element entry : entries) {
        auto session = decoded(entry);
        if (!session)
            return std::nullopt;
        sessions.append(std::move(*session));
    }
    return sessions;
}
