#include "tests/support/PrivateBus.h"

#include <QFile>

using namespace Qt::StringLiterals;

PrivateBus::PrivateBus()
{
    QFile configuration(m_folder.filePath(u"bus.conf"_s));
    if (!configuration.open(QIODevice::WriteOnly))
        return;
    configuration.write(
        "<busconfig><type>session</type><listen>unix:path=" + m_folder.filePath(u"bus"_s).toUtf8() +
        "</listen><policy context=\"default\">"
        "<allow send_destination=\"*\" eavesdrop=\"true\"/>"
        "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>");
    configuration.close();
    m_daemon.start(u"dbus-daemon"_s, {u"--config-file"_s, configuration.fileName(), u"--nofork"_s,
                                      u"--print-address"_s});
    if (m_daemon.waitForStarted() && m_daemon.waitForReadyRead())
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_daemon.readLine().trimmed());
}

PrivateBus::~PrivateBus()
{
    stop();
}

void PrivateBus::stop()
{
    m_daemon.terminate();
    m_daemon.waitForFinished();
}
