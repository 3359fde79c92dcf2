#pragma once

#include <QFile>

/// What stands in a file; "<none>" where it cannot be read.
inline QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<none>");
}

/// Writes a file, anew where it is there.
inline void put(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(path));
}
