#include "app/AppDelegate.h"
#include "app/DesktopPlatform.h"
#include "settings/PrefsStore.h"

#include <QApplication>

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

    DesktopPlatform platform;
    PrefsStore prefs(platform.defaults(), platform.loginItem());
    PrefsStore::share(prefs);
    AppDelegate delegate(platform.audio(), prefs);
    delegate.applicationDidFinishLaunching();
    return QApplication::exec();
}
