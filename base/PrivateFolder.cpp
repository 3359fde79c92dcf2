#include "base/PrivateFolder.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

std::error_code makePrivateFolder(const QString &path)
{
    const std::filesystem::path folder = QFile::encodeName(QDir::cleanPath(path)).toStdString();
    std::error_code error;
    if (std::filesystem::is_directory(folder, error))
        return {};
    std::filesystem::create_directories(folder.parent_path(), error);
    if (error)
        return error;
    constexpr mode_t onlyThisUser = 0700;
    if (mkdir(folder.c_str(), onlyThisUser) == 0)
        return {};
    error.assign(errno, std::generic_category());
    // Somebody else may just have made it.
    std::error_code unknown;
    return std::filesystem::is_directory(folder, unknown) ? std::error_code() : error;
}
