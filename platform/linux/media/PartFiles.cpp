#include "platform/linux/media/PartFiles.h"

#include "base/FileDescriptor.h"
#include "platform/linux/media/OutputFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

using namespace Qt::StringLiterals;

QString partPath(const QString &target)
{
    const QFileInfo info(target);
    return u"%1/.%2.part"_s.arg(info.path(), info.fileName());
}

std::expected<void, Error> publishPart(const QString &target)
{
    const QByteArray from = QFile::encodeName(partPath(target));
    const QByteArray to = QFile::encodeName(target);
    if (std::rename(from.constData(), to.constData()) != 0)
        return std::unexpected(writeError(errno));
    return syncFolder(QFileInfo(target).path());
}

void removeAbandonedParts(const QString &folder)
{
    const QDir directory(folder);
    const QDir::Filters plainFiles = QDir::Files | QDir::Hidden | QDir::NoSymLinks;
    for (const QString &name : directory.entryList({u".*.m4a.part"_s}, plainFiles)) {
        const QByteArray path = QFile::encodeName(directory.filePath(name));
        const FileDescriptor file(
            ::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
        if (file.isOpen() && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0)
            ::unlink(path.constData());
    }
}
