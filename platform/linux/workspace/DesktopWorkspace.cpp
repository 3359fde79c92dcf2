#include "platform/linux/workspace/DesktopWorkspace.h"

#include "base/CoreFiles.h"
#include "platform/WebAddress.h"
#include "platform/linux/workspace/BrowserOpening.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QFileInfo>
#include <QProcess>
#include <QUrl>
#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace
{

/// Long enough for a service that is only started by the call.
constexpr int answerLimitMilliseconds = 10'000;

/// Starts a program that outlives this one; false: there is none of this name.
bool startApart(const QStringList &command)
{
    QProcess process;
    process.setProgram(command.constFirst());
    process.setArguments(command.sliced(1));
    CoreFiles::allowAsBefore(process);
    return process.startDetached();
}

/// Opens \p target with xdg-open if nobody takes \p message.
void callOrOpen(const QDBusMessage &message, const QString &target)
{
    const QDBusPendingCall call =
        QDBusConnection::sessionBus().asyncCall(message, answerLimitMilliseconds);
    auto *const watcher = new QDBusPendingCallWatcher(call);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, target] {
        // A silent file manager may still do what it was asked for, which must not happen twice.
        if (watcher->isError() && watcher->error().type() != QDBusError::NoReply)
            startApart({u"xdg-open"_s, target});
        watcher->deleteLater();
    });
}

/// Tells \p found which program the desktop opens our addresses with, unless it is this one.
void findOtherProgram(const std::function<void(const QString &)> &found)
{
    auto *const query = new QProcess;
    QObject::connect(query, &QProcess::finished, query, [query, found] {
        query->deleteLater();
        const QString entry = QString::fromLocal8Bit(query->readAllStandardOutput()).trimmed();
        if (!entry.isEmpty() && entry != u"com.parlovance.Parlovance.desktop")
            found(entry.chopped(entry.endsWith(u".desktop") ? 8 : 0));
    });
    QObject::connect(query, &QProcess::errorOccurred, query, &QObject::deleteLater);
    query->start(u"xdg-mime"_s, {u"query"_s, u"default"_s, u"x-scheme-handler/parlovance"_s});
}

/// A command that shows settings, and the desktop (as XDG_CURRENT_DESKTOP names it) that has it.
struct SettingsCommand {
    QString desktop; ///< empty: any
    QStringList command;
};

QList<SettingsCommand> settingsCommands(SettingsPage page)
{
    const bool isMicrophone = page == SettingsPage::microphone;
    return {
        {u"GNOME"_s, {u"gnome-control-center"_s, isMicrophone ? u"microphone"_s : u"sound"_s}},
        {u"KDE"_s, {u"systemsettings"_s, u"kcm_pulseaudio"_s}},
        // The tabs of the input and of the output devices.
        {QString(), {u"pavucontrol"_s, isMicrophone ? u"--tab=4"_s : u"--tab=3"_s}},
    };
}

} // namespace

void DesktopWorkspace::openAddress(const QString &address)
{
    const auto allowed = WebAddress::parse(address, WebAddress::LoopbackHttp::allowed);
    if (!allowed)
        return;
    BrowserOpening::start(m_openings, QString::fromLatin1(allowed->encoded()), {});
}

void DesktopWorkspace::openSignInPage(const QString &address,
                                      std::function<void(const QString &otherProgram)> obstructed)
{
    const auto allowed = WebAddress::parse(address, WebAddress::LoopbackHttp::allowed);
    if (!allowed)
        return;
    findOtherProgram(obstructed);
    BrowserOpening::start(m_openings, QString::fromLatin1(allowed->encoded()),
                          [obstructed] { obstructed(QString()); });
}

void DesktopWorkspace::revealFile(const QString &path)
{
    const QFileInfo file(path);
    QDBusMessage message = QDBusMessage::createMethodCall(
        u"org.freedesktop.FileManager1"_s, u"/org/freedesktop/FileManager1"_s,
        u"org.freedesktop.FileManager1"_s, u"ShowItems"_s);
    const QUrl url = QUrl::fromLocalFile(file.absoluteFilePath());
    message << QStringList{QString::fromLatin1(url.toEncoded())} << QString();
    callOrOpen(message, file.absolutePath());
}

void DesktopWorkspace::openSettings(SettingsPage page)
{
    const QStringList desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':');
    for (const auto &[desktop, command] : settingsCommands(page)) {
        const bool isHere = desktop.isEmpty() || desktops.contains(desktop, Qt::CaseInsensitive);
        if (isHere && startApart(command))
            return;
    }
}

void DesktopWorkspace::startNewInstance(std::function<void()> reported)
{
    if (!m_newInstance.isEmpty())
        startApart(m_newInstance);
    reported();
}
