#include "core/RecordingJournal.h"

#include "base/AtomicFile.h"
#include "base/BoundedRead.h"
#include "base/Logger.h"
#include "base/PrivateFolder.h"
#include "base/Tasks.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <mutex>

using namespace Qt::StringLiterals;

namespace
{
constexpr Logger logger("audio");
constexpr qint64 maxBytes = 1 << 20;
constexpr qsizetype mostFolders = 16; ///< of volumes that never came back, the oldest go
const auto folderKey = u"folder"_s;
const auto sinceKey = u"since"_s;

void remember(QList<RecordingJournal::Entry> &entries, const RecordingJournal::Entry &entry)
{
    const auto known = std::ranges::find(entries, entry.folder, &RecordingJournal::Entry::folder);
    if (known == entries.end())
        entries.append(entry);
    else
        known->since = std::min(known->since, entry.since);
}

QByteArray encode(const QList<RecordingJournal::Entry> &entries)
{
    QJsonArray array;
    for (const auto &[folder, since] : entries.last(std::min(entries.size(), mostFolders)))
        array.append(QJsonObject{{folderKey, folder}, {sinceKey, since.toString(Qt::ISODate)}});
    return QJsonDocument(array).toJson();
}

QList<RecordingJournal::Entry> decode(const QByteArray &content)
{
    QList<RecordingJournal::Entry> entries;
    const QJsonArray array = QJsonDocument::fromJson(content).array();
    for (const QJsonValue &value : array) {
        const QDateTime since = QDateTime::fromString(value[sinceKey].toString(), Qt::ISODate);
        if (const QString folder = value[folderKey].toString();
            !folder.isEmpty() && since.isValid())
            remember(entries, {folder, since});
    }
    return entries;
}
} // namespace

/// Written by whichever thread of the pool comes first; the latest content wins.
class RecordingJournal::File
{
public:
    explicit File(QString path)
        : m_path(std::move(path))
    {
    }

    QList<Entry> read() const { return decode(readRegularFile(m_path, maxBytes).value_or("")); }
    quint64 nextNumber() { return ++m_lastNumber; }
    bool isNowhere() const { return m_path.isEmpty(); }

    void write(quint64 number, const QByteArray &content)
    {
        const std::scoped_lock lock(m_mutex);
        if (number < m_numberInPlace)
            return;
        m_numberInPlace = number;
        (void)makePrivateFolder(QFileInfo(m_path).path()); // otherwise the next step fails
        if (const auto written = AtomicFile::replace(m_path, content); !written)
            logger.error(u"the journal: "_s + written.error().description());
    }

private:
    const QString m_path;
    quint64 m_lastNumber = 0; ///< main thread
    std::mutex m_mutex;
    quint64 m_numberInPlace = 0;
};

RecordingJournal::RecordingJournal(const QString &path)
    : m_file(std::make_shared<File>(path))
    , m_left(m_file->read())
{
}

RecordingJournal::~RecordingJournal() = default;

void RecordingJournal::forget(const QString &folder)
{
    if (m_left.removeIf([&](const Entry &entry) { return entry.folder == folder; }) > 0)
        store();
}

void RecordingJournal::begin(const QString &folder, const QDateTime &now)
{
    remember(m_own, {folder, now.toUTC()});
    store();
}

void RecordingJournal::end()
{
    if (m_own.isEmpty())
        return;
    m_own.clear();
    store();
}

void RecordingJournal::store()
{
    if (m_file->isNowhere())
        return;
    QList<Entry> entries = m_left;
    for (const Entry &entry : m_own)
        remember(entries, entry);
    [[maybe_unused]] const auto ignored =
        inBackground([file = m_file, number = m_file->nextNumber(), content = encode(entries)] {
            file->write(number, content);
        });
}
