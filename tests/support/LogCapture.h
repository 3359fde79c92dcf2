#pragma once

#include "base/Logger.h"

#include <QMutex>
#include <QStringList>

/// Collects the log of the process while it lives, as "info audio: text".
class LogCapture
{
public:
    LogCapture()
    {
        Logger::redirect([this](const char *category, Logger::Level level, const QString &text) {
            const QMutexLocker lock(&m_mutex);
            const bool isError = level == Logger::Level::error;
            m_lines.append(QStringLiteral("%1 %2: %3")
                               .arg(isError ? QStringLiteral("error") : QStringLiteral("info"),
                                    QLatin1String(category), text));
        });
    }
    ~LogCapture() { Logger::redirect({}); }
    Q_DISABLE_COPY_MOVE(LogCapture)

    /// What was logged since the last call.
    QStringList take()
    {
        const QMutexLocker lock(&m_mutex);
        return std::exchange(m_lines, {});
    }

private:
    QMutex m_mutex;
    QStringList m_lines;
};
