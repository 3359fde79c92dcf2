#include "platform/linux/media/OutputFile.h"

#include <QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{
constexpr qint64 fileSystemBlock = 4096; ///< what file systems hand out; see insert()
constexpr qint64 copyBlockSize = 1 << 20;

std::unexpected<Error> failed(int errorNumber = errno)
{
    return std::unexpected(writeError(errorNumber));
}

std::unexpected<Error> readFailed(int errorNumber = errno)
{
    return std::unexpected(Error(u"读取录音文件失败：%1"_s.arg(systemErrorText(errorNumber))));
}

/// The result of \p call, made again for as long as a signal interrupts it.
template<class Call>
auto uninterrupted(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

/// The outcome of a call that syncs. A file system that cannot sync has nothing to report.
std::expected<void, Error> synced(int result)
{
    if (result < 0 && errno != EINVAL && errno != ENOSYS)
        return failed();
    return {};
}
} // namespace

Error writeError(int errorNumber)
{
    if (errorNumber == ENOSPC || errorNumber == EDQUOT)
        return Error(u"磁盘空间不足"_s);
    return Error(u"写入录音文件失败：%1"_s.arg(systemErrorText(errorNumber)));
}

std::expected<OutputFile, Error> OutputFile::create(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    ::unlink(name.constData()); // what cannot be removed makes the next line fail
    const int descriptor = uninterrupted(
        [&] { return ::open(name.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600); });
    if (descriptor < 0)
        return failed();
    ::flock(descriptor, LOCK_EX | LOCK_NB); // only a mark: where it is not supported, so be it
    return OutputFile(FileDescriptor(descriptor));
}

std::expected<OutputFile, Error> OutputFile::open(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    const int descriptor =
        uninterrupted([&] { return ::open(name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); });
    if (descriptor < 0)
        return readFailed();
    return OutputFile(FileDescriptor(descriptor));
}

std::expected<void, Error> OutputFile::write(qint64 offset, std::span<const std::byte> bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = uninterrupted(
            [&] { return ::pwrite(m_descriptor.get(), bytes.data(), bytes.size(), offset); });
        if (written <= 0)
            return failed(written < 0 ? errno : EIO);
        offset += written;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return {};
}

std::expected<std::size_t, Error> OutputFile::read(qint64 offset, std::span<std::byte> bytes) const
{
    std::size_t done = 0;
    while (done < bytes.size()) {
        const auto rest = bytes.subspan(done);
        const ssize_t count = uninterrupted([&] {
            return ::pread(m_descriptor.get(), rest.data(), rest.size(),
                           offset + static_cast<qint64>(done));
        });
        if (count < 0)
            return readFailed();
        if (count == 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

std::expected<qint64, Error> OutputFile::size() const
{
    struct stat status = {};
    if (::fstat(m_descriptor.get(), &status) < 0)
        return failed();
    return status.st_size;
}

std::expected<void, Error> OutputFile::truncate(qint64 size)
{
    if (uninterrupted([&] { return ::ftruncate(m_descriptor.get(), size); }) < 0)
        return failed();
    return {};
}

std::expected<void, Error> OutputFile::insert(qint64 offset, qint64 length)
{
    const auto end = size();
    if (!end)
        return std::unexpected(end.error());
    // Some file systems do it at once, by whole blocks; elsewhere the content is moved.
    if (offset % fileSystemBlock == 0 && length % fileSystemBlock == 0 &&
        ::fallocate(m_descriptor.get(), FALLOC_FL_INSERT_RANGE, offset, length) == 0)
        return {};
    return moveBack(offset, length, *end);
}

std::expected<void, Error> OutputFile::copyBlock(const OutputFile &from, qint64 position,
                                                 std::span<std::byte> block, qint64 to)
{
    const auto count = from.read(position, block);
    if (!count)
        return std::unexpected(count.error());
    if (*count < block.size())
        return readFailed(EIO);
    return write(to, block);
}

std::expected<void, Error> OutputFile::moveBack(qint64 offset, qint64 length, qint64 end)
{
    std::vector<std::byte> block(copyBlockSize);
    while (end > offset) {
        const qint64 count = std::min(copyBlockSize, end - offset);
        end -= count;
        const std::span part = std::span(block).first(static_cast<std::size_t>(count));
        if (const auto copied = copyBlock(*this, end, part, end + length); !copied)
            return copied;
    }
    return {};
}

std::expected<void, Error> OutputFile::copyFrom(const OutputFile &other, qint64 length)
{
    std::vector<std::byte> block(copyBlockSize);
    for (qint64 position = 0; position < length; position += copyBlockSize) {
        const auto count = static_cast<std::size_t>(std::min(copyBlockSize, length - position));
        const std::span part = std::span(block).first(count);
        if (const auto copied = copyBlock(other, position, part, position); !copied)
            return copied;
    }
    return {};
}

bool OutputFile::isAt(const QString &path) const
{
    struct stat ours = {};
    struct stat there = {};
    if (::fstat(m_descriptor.get(), &ours) < 0)
        return true;
    // An error other than a missing file does not prove that the file is gone.
    if (::lstat(QFile::encodeName(path).constData(), &there) < 0)
        return errno != ENOENT && errno != ENOTDIR;
    return ours.st_dev == there.st_dev && ours.st_ino == there.st_ino;
}

void OutputFile::unlock()
{
    ::flock(m_descriptor.get(), LOCK_UN);
}

std::expected<void, Error> OutputFile::syncData()
{
    return synced(uninterrupted([&] { return ::fdatasync(m_descriptor.get()); }));
}

std::expected<void, Error> OutputFile::sync()
{
    return synced(uninterrupted([&] { return ::fsync(m_descriptor.get()); }));
}

std::expected<void, Error> syncFolder(const QString &folder)
{
    const FileDescriptor descriptor(
        ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor.isOpen())
        return failed();
    return synced(uninterrupted([&] { return ::fsync(descriptor.get()); }));
}
