#include "platform/linux/desktop/AutostartEntry.h"

#include "base/AtomicFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace
{
/// One argument of an Exec line. Desktop Entry Specification 1.5, "The Exec key": quoted, with a
/// backslash before four characters, each backslash doubled again as in every string value, and
/// the percent sign doubled because it begins a field code. A line ends the value.
QString quoted(const QString &argument)
{
    QString result;
    for (const QChar character : argument) {
        if (u"\"`$\\"_s.contains(character))
            result += u"\\\\"_s;
        if (character == u'\\' || character == u'%')
            result += character;
        result += character;
    }
    return u'"' + result.replace(u"\n"_s, u"\\n"_s) + u'"';
}

QString execLine(const QStringList &command)
{
    QStringList arguments;
    for (const QString &argument : command)
        arguments.append(quoted(argument));
    return arguments.join(u' ');
}
} // namespace

AutostartEntry::AutostartEntry(const QString &path, const QStringList &command)
    : m_path(path)
    , m_command(command)
{
}

QString AutostartEntry::standardPath(const QString &identifier)
{
    const QDir configuration(
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation));
    return configuration.filePath(u"autostart/"_s + identifier + u".desktop"_s);
}

std::expected<void, Error> AutostartEntry::registerItem()
{
    const QString entry = u"[Desktop Entry]\n"
                          "Type=Application\n"
                          "Name=Parlovance\n"
                          "Exec=%1\n"
                          "Terminal=false\n"_s.arg(execLine(m_command));
    QDir().mkpath(QFileInfo(m_path).path());
    AtomicFile::removeLeftovers(m_path);
    return AtomicFile::replace(m_path, entry.toUtf8());
}

std::expected<void, Error> AutostartEntry::unregisterItem()
{
    QFile entry(m_path);
    if (entry.remove() || !entry.exists())
        return {};
    return std::unexpected(Error(u"无法删除自动启动项："_s + entry.errorString()));
}
