#include "base/BoundedRead.h"

#include "base/FileDescriptor.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

std::optional<QByteArray> readRegularFile(const QString &path, qint64 maxBytes)
{
    // Opening a pipe without O_NONBLOCK would wait for a writer.
    const FileDescriptor file(
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    struct stat status{};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > maxBytes)
        return std::nullopt;

    QByteArray content(status.st_size, Qt::Uninitialized);
    qsizetype length = 0;
    while (length < content.size()) {
        const auto count = ::read(file.get(), content.data() + length,
                                  static_cast<size_t>(content.size() - length));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break;
        length += count;
    }
    content.truncate(length);
    return content;
}
