#include "app/AppDelegate.h"
#include "app/BusApplication.h"
#include "app/DesktopPlatform.h"
#include "base/CoreFiles.h"
#include "base/Logger.h"
#include "settings/PrefsStore.h"
#include "ui/parts/ChineseTexts.h"
#include "ui/windows/AlertBox.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QMessageBox>
#include <QThread>
#include <QThreadPool>

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>

using namespace Qt::StringLiterals;

namespace
{
constexpr int patienceWithThreads = 10'000; // milliseconds

// Windows are placed beside the tray icon, which only X11 (also under a Wayland desktop) allows.
void preferX11()
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "xcb;wayland");
}

// Without this limit the allocator keeps the memory of the largest reply or list for ever.
void returnFreedMemory()
{
    mallopt(M_MMAP_THRESHOLD, 128 * 1024);
    mallopt(M_TRIM_THRESHOLD, 128 * 1024);
}

// Everyone on the machine may read a process's command line, and an address may hold a token.
QStringList takeAddresses(std::span<char *> arguments)
{
    QStringList taken;
    for (char *const argument : arguments) {
        const auto addresses = BusApplication::ownAddresses({QString::fromLocal8Bit(argument)});
        if (!addresses.isEmpty())
            std::memset(argument, 0, std::strlen(argument));
        taken += addresses;
    }
    return taken;
}

void tellWhyNot(BusApplication::Claim claim)
{
    const QString reason =
        claim == BusApplication::Claim::elsewhere
            ? u"它正在另一个会话中运行。为避免录音列表互相覆盖，同一用户只能运行一个。"_s
            : u"它已在运行，但没有响应。请结束无响应的进程后重试。"_s;
    Logger("app").error(reason);
    QMessageBox::critical(nullptr, u"Parlovance"_s, u"Parlovance 没有启动"_s + u"\n\n"_s + reason);
}

} // namespace

int main(int argc, char **argv)
{
    CoreFiles::refuse();
    const QStringList addresses = takeAddresses({argv, static_cast<std::size_t>(argc)});
    returnFreedMemory();
    preferX11();
    const QApplication application(argc, argv);
    // On one core too a recording starts and stops while an old one is mixed.
    QThreadPool::globalInstance()->setMaxThreadCount(std::max(4, QThread::idealThreadCount()));
    QGuiApplication::setDesktopFileName(u"com.parlovance.Parlovance"_s);
    QCoreApplication::setApplicationName(u"Parlovance"_s);
    QGuiApplication::setQuitOnLastWindowClosed(false);

    QCommandLineParser parser;
    const QCommandLineOption bundleInformation(
        u"bundle-information"_s, u"Read the facts about the program from this file."_s, u"file"_s);
    QCommandLineOption relaunched(u"relaunched"_s,
                                  u"Take over from the instance that runs, when it has left."_s);
    QCommandLineOption service(u"gapplication-service"_s, u"Started by the session bus."_s);
    relaunched.setFlags(QCommandLineOption::HiddenFromHelp);
    service.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOptions({bundleInformation, relaunched, service});
    parser.addPositionalArgument(u"addresses"_s, u"Addresses of the scheme parlovance to open."_s,
                                 u"[addresses...]"_s);
    parser.addHelpOption();
    parser.process(application);

    speakChinese();
    BusApplication bus(DesktopPlatform::lockPath());
    if (parser.isSet(relaunched)) {
        if (!bus.succeed())
            return 1;
    } else if (const auto claim = bus.claim(addresses); claim != BusApplication::Claim::first) {
        // Whom the bus has started, who asked for it tells.
        if (claim != BusApplication::Claim::handedOn && !parser.isSet(service))
            tellWhyNot(claim);
        return claim == BusApplication::Claim::handedOn ? 0 : 1;
    }

    DesktopPlatform platform(parser.value(bundleInformation));
    PrefsStore prefs(platform.defaults(), platform.loginItem());
    PrefsStore::share(prefs);
    AlertBox alert;
    AppDelegate delegate(platform.app(prefs, alert));
    QObject::connect(&bus, &BusApplication::activated, &delegate, &AppDelegate::activate);
    QObject::connect(&bus, &BusApplication::opened, &delegate, &AppDelegate::open);
    delegate.applicationDidFinishLaunching();
    delegate.open(addresses);
    if (parser.isSet(relaunched)) // the user waits for it
        delegate.activate();
    const int code = QApplication::exec();
    // What it does may still use the platform, but a volume that hangs never lets it end.
    if (!QThreadPool::globalInstance()->waitForDone(patienceWithThreads))
        _exit(code);
    return code;
}
