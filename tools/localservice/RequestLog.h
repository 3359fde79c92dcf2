#pragma once

#include <QByteArray>
#include <QList>

#include <memory>
#include <mutex>
#include <utility>

/// A request that the service got.
struct ReceivedRequest {
    QByteArray method;
    QByteArray target; ///< path and query, as they came
    QList<std::pair<QByteArray, QByteArray>> headers;
    QByteArray body; ///< the first 64 KiB
    qint64 bodyBytes = 0;

    /// Empty when there is none. \p name in any case.
    QByteArray header(QByteArrayView name) const;
};

/// The requests in the order of their arrival. Any thread.
class RequestLog
{
public:
    using Entry = std::shared_ptr<ReceivedRequest>;

    Entry add(ReceivedRequest request);
    void addBody(const Entry &entry, QByteArrayView bytes);
    QList<ReceivedRequest> requests() const;
    void clear();

private:
    mutable std::mutex m_mutex;
    QList<Entry> m_entries;
};
