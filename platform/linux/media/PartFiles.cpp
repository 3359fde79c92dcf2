#include "platform/linux/media/PartFiles.h"

#include "base/FileDescriptor.h"
#include "platform/linux/media/OutputFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/file.h>

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

bool isAbandoned(const QString &path)
{
    // For writing: on network file systems only that takes an exclusive lock.
    const FileDescriptor file(
        ::open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    return file.isOpen() && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0;
}

void removeAbandonedParts(const QString &folder, const QDateTime &time)
{
    const QDir directory(folder);
    const QDir::Filters plainFiles = QDir::Files | QDir::Hidden | QDir::NoSymLinks;
    for (const QFileInfo &file :
         directory.entryInfoList({u".recording-*.m4a.part"_s}, plainFiles)) {
        if (file.lastModified() < time && isAbandoned(file.filePath()))
            QFile::remove(file.filePath());
    }
}
