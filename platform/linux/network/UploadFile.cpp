#include "platform/linux/network/UploadFile.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

using namespace Qt::StringLiterals;

namespace
{
Error lastSystemError()
{
    return Error(QString::fromLocal8Bit(std::strerror(errno)));
}
} // namespace

std::expected<UploadFile, Error> UploadFile::open(const QString &path)
{
    // The system would read the path up to there, and open another file than the one that is named.
    if (path.contains(QChar::Null))
        return std::unexpected(Error(u"not the path of a file"_s));
    // Without blocking: opening a pipe that nobody writes to would wait for ever. Without following
    // a link, which may lend the name of a recording to any file: what is sent is what was judged
    // by its name. Links to folders on the way there are followed.
    FileDescriptor descriptor(::open(QFile::encodeName(path).constData(),
                                     O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    struct stat status{};
    if (!descriptor.isOpen() && errno == ELOOP)
        return std::unexpected(Error(u"a symbolic link"_s));
    if (!descriptor.isOpen() || fstat(descriptor.get(), &status) != 0)
        return std::unexpected(lastSystemError());
    if (!S_ISREG(status.st_mode))
        return std::unexpected(Error(u"not a regular file"_s));
    return UploadFile(std::move(descriptor), status.st_size);
}

std::expected<size_t, Error> UploadFile::read(std::span<char> target)
{
    const size_t wanted = std::min(target.size(), static_cast<size_t>(m_size - m_position));
    if (wanted == 0)
        return 0;
    ssize_t count = -1;
    do {
        count = ::pread(m_descriptor.get(), target.data(), wanted, m_position);
    } while (count < 0 && errno == EINTR);
    if (count < 0)
        return std::unexpected(lastSystemError());
    if (count == 0)
        return std::unexpected(Error(u"the file has become shorter"_s));
    m_position += count;
    return static_cast<size_t>(count);
}
