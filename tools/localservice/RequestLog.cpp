#include "tools/localservice/RequestLog.h"

#include <algorithm>

namespace
{
constexpr qsizetype keptBodyBytes = 64 * 1024;
}

QByteArray ReceivedRequest::header(QByteArrayView name) const
{
    for (const auto &[ownName, value] : headers) {
        if (ownName.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

RequestLog::Entry RequestLog::add(ReceivedRequest request)
{
    const std::scoped_lock lock(m_mutex);
    m_entries.append(std::make_shared<ReceivedRequest>(std::move(request)));
    return m_entries.last();
}

void RequestLog::addBody(const Entry &entry, QByteArrayView bytes)
{
    const std::scoped_lock lock(m_mutex);
    entry->bodyBytes += bytes.size();
    entry->body.append(bytes.first(std::min(bytes.size(), keptBodyBytes - entry->body.size())));
}

QList<ReceivedRequest> RequestLog::requests() const
{
    const std::scoped_lock lock(m_mutex);
    QList<ReceivedRequest> requests;
    for (const Entry &entry : m_entries)
        requests.append(*entry);
    return requests;
}

void RequestLog::clear()
{
    const std::scoped_lock lock(m_mutex);
    m_entries.clear();
}
