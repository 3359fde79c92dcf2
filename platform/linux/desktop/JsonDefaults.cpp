#include "platform/linux/desktop/JsonDefaults.h"

#include "base/AtomicFile.h"
#include "base/BoundedRead.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QStandardPaths>

namespace
{
constexpr qint64 maxBytes = 1 << 20;
}

JsonDefaults::JsonDefaults(const QString &path)
    : m_path(path)
{
    AtomicFile::removeLeftovers(path);
    if (const auto content = readRegularFile(path, maxBytes)) {
        const auto document = QJsonDocument::fromJson(*content);
        m_fileIsOurs = document.isObject();
        m_values = document.object();
    }
}

QString JsonDefaults::standardPath(const QString &identifier, const QString &fileName)
{
    const QDir configuration(
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation));
    return configuration.filePath(identifier + QLatin1Char('/') + fileName);
}

std::optional<QString> JsonDefaults::string(const QString &key) const
{
    const QJsonValue value = m_values.value(key);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

std::optional<bool> JsonDefaults::boolean(const QString &key) const
{
    const QJsonValue value = m_values.value(key);
    return value.isBool() ? std::optional(value.toBool()) : std::nullopt;
}

void JsonDefaults::setString(const QString &key, const QString &value)
{
    set(key, value);
}

void JsonDefaults::setBoolean(const QString &key, bool value)
{
    set(key, value);
}

// A failure stays silent: the values hold for this process, and the next set tries again.
void JsonDefaults::set(const QString &key, const QJsonValue &value)
{
    if (m_isStored && m_values.value(key) == value)
        return;
    m_values.insert(key, value);
    m_isStored = store();
}

bool JsonDefaults::store()
{
    QDir().mkpath(QFileInfo(m_path).path());
    const auto old = m_fileIsOurs ? AtomicFile::Old::replaced : AtomicFile::Old::keptAside;
    if (!AtomicFile::replace(m_path, QJsonDocument(m_values).toJson(), old))
        return false;
    m_fileIsOurs = true;
    return true;
}
