// Sends a file in one PUT over the HTTP session and prints the seconds it took and the peak memory
// of the process in kilobytes, as bench/upload compares them with curl's.
//
//     bench_upload ADDRESS FILE

#include "base/Tasks.h"
#include "platform/linux/network/CurlHttpSession.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <sys/resource.h>

#include <cstdio>

namespace
{

QCoro::Task<> sendFile(CurlHttpSession &session, QString address, QString path)
{
    HttpRequest request("PUT", address);
    request.addHeader("Content-Type", "audio/mp4");
    request.setBodyFile(path);
    QElapsedTimer timer;
    timer.start();
    const auto outcome = co_await session.send(request);
    const double seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    if (outcome && outcome->isSuccess())
        std::printf("%.3f %ld\n", seconds, usage.ru_maxrss);
    QCoreApplication::exit(outcome && outcome->isSuccess() ? 0 : 1);
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    if (argc != 3)
        return 2;
    HttpSettings settings;
    settings.loopbackHttp = WebAddress::LoopbackHttp::allowed;
    CurlHttpSession session(settings);
    const QStringList arguments = QCoreApplication::arguments();
    runDetached(sendFile(session, arguments[1], arguments[2]));
    return QCoreApplication::exec();
}
