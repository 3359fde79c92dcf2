#include "platform/linux/desktop/SystemVolume.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/statvfs.h>

#include <cerrno>
#include <limits>
#include <utility>

std::optional<qint64> SystemVolume::availableBytes(const QString &folder) const
{
    QString path = QDir::cleanPath(QFileInfo(folder).absoluteFilePath());
    struct statvfs status{};
    while (::statvfs(QFile::encodeName(path).constData(), &status) != 0) {
        if (errno != ENOENT || QFileInfo(path).isRoot())
            return std::nullopt;
        path = QFileInfo(path).path();
    }
    quint64 bytes = 0;
    const bool isHuge = __builtin_mul_overflow(status.f_bavail, status.f_frsize, &bytes) ||
                        !std::in_range<qint64>(bytes);
    return isHuge ? std::numeric_limits<qint64>::max() : static_cast<qint64>(bytes);
}
