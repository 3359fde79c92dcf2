#include "app/AppDelegate.h"
#include "app/DesktopPlatform.h"
#include "settings/PrefsStore.h"
#include "ui/AlertBox.h"

#include <QApplication>
#include <QCommandLineParser>

using namespace Qt::StringLiterals;

namespace
{

// Windows are placed beside the tray icon, which only X11 (also under a Wayland desktop) allows.
void preferX11()
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "xcb;wayland");
}

} // namespace

int main(int argc, char **argv)
{
    preferX11();
    const QApplication application(argc, argv);
    QGuiApplication::setDesktopFileName(u"com.parlovance.Parlovance"_s);
    QCoreApplication::setApplicationName(u"Parlovance"_s);
    QGuiApplication::setQuitOnLastWindowClosed(false);

    QCommandLineParser parser;
    const QCommandLineOption bundleInformation(
        u"bundle-information"_s, u"Read the facts about the program from this file."_s, u"file"_s);
    parser.addOption(bundleInformation);
    parser.addHelpOption();
    parser.process(application);

    DesktopPlatform platform(parser.value(bundleInformation));
    PrefsStore prefs(platform.defaults(), platform.loginItem());
    PrefsStore::share(prefs);
    AlertBox alert;
    AppDelegate delegate(platform.app(prefs, alert));
    delegate.applicationDidFinishLaunching();
    return QApplication::exec();
}
