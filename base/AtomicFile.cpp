#include "base/AtomicFile.h"

#include "base/FileDescriptor.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{
// mkostemps() fills in the six letters. The ending belongs to no file type, so that nobody takes
// the temporary file for a list, an autostart entry or a recording.
constexpr auto temporaryEnding = ".XXXXXX.partial";
constexpr int lengthAfterLetters = 8;

std::unexpected<Error> failure(int code)
{
    return std::unexpected(Error(u"无法写入文件："_s + qt_error_string(code)));
}

/// The file under its temporary name; goes away unless it was moved into its place.
class PendingFile
{
public:
    explicit PendingFile(const QByteArray &target)
        : m_name(target + temporaryEnding)
        , m_file(::mkostemps(m_name.data(), lengthAfterLetters, O_CLOEXEC))
        , m_exists(m_file.isOpen())
    {
    }
    PendingFile(const PendingFile &) = delete;
    PendingFile &operator=(const PendingFile &) = delete;
    ~PendingFile()
    {
        if (m_exists)
            ::unlink(m_name.constData());
    }

    bool isOpen() const { return m_file.isOpen(); }

    bool write(const QByteArray &content)
    {
        qsizetype written = 0;
        while (written < content.size()) {
            const auto count = ::write(m_file.get(), content.constData() + written,
                                       static_cast<size_t>(content.size() - written));
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                return false;
            written += count;
        }
        // A few network and user-space file systems cannot sync at all; refusing them would mean
        // that nothing is ever stored there.
        return ::fsync(m_file.get()) == 0 || errno == EINVAL || errno == ENOTSUP;
    }

    bool moveTo(const QByteArray &target)
    {
        m_exists = std::rename(m_name.constData(), target.constData()) != 0;
        return !m_exists;
    }

private:
    QByteArray m_name;
    FileDescriptor m_file;
    bool m_exists;
};

bool exists(const QByteArray &path)
{
    struct stat status{};
    return ::lstat(path.constData(), &status) == 0;
}

QByteArray freeNameBeside(const QByteArray &path)
{
    QByteArray name = path + ".old";
    for (int number = 2; exists(name); ++number)
        name = path + ".old-" + QByteArray::number(number);
    return name;
}

void syncFolderOf(const QByteArray &path)
{
    const qsizetype slash = path.lastIndexOf('/');
    const QByteArray folder = slash < 0 ? QByteArray(".") : path.left(slash + 1);
    const FileDescriptor descriptor(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // The new file is in its place either way; only how soon the disk learns its name is at stake.
    if (descriptor.isOpen())
        ::fsync(descriptor.get());
}
} // namespace

std::expected<void, Error> AtomicFile::replace(const QString &path, const QByteArray &content,
                                               Old old)
{
    const QByteArray target = QFile::encodeName(path);
    PendingFile pending(target);
    if (!pending.isOpen() || !pending.write(content))
        return failure(errno);

    QByteArray aside;
    if (old == Old::keptAside && exists(target)) {
        aside = freeNameBeside(target);
        if (std::rename(target.constData(), aside.constData()) != 0)
            return failure(errno);
    }
    if (!pending.moveTo(target)) {
        const int code = errno;
        if (!aside.isEmpty())
            std::rename(aside.constData(), target.constData());
        return failure(code);
    }
    syncFolderOf(target);
    return {};
}

void AtomicFile::removeLeftovers(const QString &path)
{
    const QFileInfo file(path);
    static const auto ending = u"\\.[A-Za-z0-9]{6}\\.partial"_s;
    const QRegularExpression leftover(
        QRegularExpression::anchoredPattern(QRegularExpression::escape(file.fileName()) + ending));
    QDirIterator entries(file.path(), QDir::Files | QDir::Hidden);
    while (entries.hasNext()) {
        entries.next();
        if (leftover.match(entries.fileName()).hasMatch())
            QFile::remove(entries.filePath());
    }
}
