#include "ui/preferences/FolderChooser.h"

#include <QDir>
#include <QFileDialog>

using namespace Qt::StringLiterals;

namespace
{
/// The folder itself or, where it is not there yet, the one above it that is.
QString nearestFolder(const QString &path)
{
    QFileInfo info(QDir::current().absoluteFilePath(path));
    while (!info.isDir() && !info.isRoot())
        info.setFile(info.absolutePath());
    return info.absoluteFilePath();
}
} // namespace

void chooseFolder(QWidget *window, const QString &start,
                  const std::function<void(const QString &path)> &chosen)
{
    auto *const dialog = new QFileDialog(window, u"选择保存位置"_s, nearestFolder(start));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    QObject::connect(dialog, &QFileDialog::fileSelected, dialog, chosen);
    dialog->open();
}
