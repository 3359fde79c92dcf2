#pragma once

#include <QString>

#include <functional>

class QWidget;

/// Lets the user choose a folder, beginning at a path. Returns at once; the function given last is
/// called with the path of the chosen folder, and never where the user cancels.
using FolderChooser = std::function<void(QWidget *window, const QString &start,
                                         const std::function<void(const QString &path)> &chosen)>;

/// A dialog over \p window, which takes no input until it is answered; everything else goes on.
void chooseFolder(QWidget *window, const QString &start,
                  const std::function<void(const QString &path)> &chosen);
