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
#include <utility>

using namespace Qt::StringLiterals;

namespace
{
// mkostemps() fills in the six letters. The ending belongs to no file type, so that nobody takes
// the temporary file for a list, an autostart entry or a recording.
constexpr auto temporaryEnding = ".XXXXXX.partial";
constexpr int lengthAfterLetters = 8;

std::unexpected<Error> failure(int code)
{
    return std::unexpected(Error(u"无法写入文件："_s + systemErrorText(code)));
}

bool write(int file, const QByteArray &content)
{
    qsizetype written = 0;
    while (written < content.size()) {
        const auto count = ::write(file, content.constData() + written,
                                   static_cast<size_t>(content.size() - written));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        written += count;
    }
    // A few network and user-space file systems cannot sync at all; refusing them would mean
    // that nothing is ever stored there.
    return ::fsync(file) == 0 || errno == EINVAL || errno == ENOTSUP;
}

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
} // namespace

AtomicFile::Pending::Pending(QByteArray target, QByteArray name)
    : m_target(std::move(target))
    , m_name(std::move(name))
{
}

AtomicFile::Pending::~Pending()
{
    if (m_isWaiting)
        ::unlink(m_name.constData());
}

/// Undoes what put the old file aside, in either way.
void AtomicFile::Pending::putBack(const QByteArray &aside) const
{
    if (exists(m_target))
        ::unlink(aside.constData());
    else
        std::rename(aside.constData(), m_target.constData());
}

std::expected<void, Error> AtomicFile::Pending::putInPlace(Old old)
{
    QByteArray aside;
    if (old == Old::keptAside && exists(m_target)) {
        aside = freeNameBeside(m_target);
        // A second name, so that at every moment something stands at the path. What cannot have
        // one (a folder, some file systems) is renamed.
        if (::link(m_target.constData(), aside.constData()) != 0 &&
            std::rename(m_target.constData(), aside.constData()) != 0)
            return failure(errno);
    }
    if (std::rename(m_name.constData(), m_target.constData()) != 0) {
        const int code = errno;
        if (!aside.isEmpty())
            putBack(aside);
        return failure(code);
    }
    m_isWaiting = false;
    return {};
}

std::expected<std::shared_ptr<AtomicFile::Pending>, Error>
AtomicFile::prepare(const QString &path, const QByteArray &content)
{
    const QByteArray target = QFile::encodeName(path);
    QByteArray name = target + temporaryEnding;
    const FileDescriptor file(::mkostemps(name.data(), lengthAfterLetters, O_CLOEXEC));
    if (!file.isOpen())
        return failure(errno);
    auto pending = std::make_shared<Pending>(target, name);
    if (!write(file.get(), content))
        return failure(errno);
    return pending;
}

void AtomicFile::syncFolderOf(const QString &path)
{
    const QByteArray target = QFile::encodeName(path);
    const qsizetype slash = target.lastIndexOf('/');
    const QByteArray folder = slash < 0 ? QByteArray(".") : target.left(slash + 1);
    const FileDescriptor descriptor(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.isOpen())
        ::fsync(descriptor.get());
}

std::expected<void, Error> AtomicFile::replace(const QString &path, const QByteArray &content,
                                               Old old)
{
    const auto pending = prepare(path, content);
    if (!pending)
        return std::unexpected(pending.error());
    const auto replaced = (*pending)->putInPlace(old);
    if (replaced)
        syncFolderOf(path);
    return replaced;
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
