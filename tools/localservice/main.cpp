// Plays the web service on a loopback port; see --help.

#include "tools/localservice/LocalService.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <csignal>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{

/// EXCHANGE=KIND[:ARGUMENT]
bool applyMisbehaviour(LocalService &service, const QString &text)
{
    const auto exchange = LocalService::exchangeNamed(text.section(u'=', 0, 0));
    const auto misbehaviour = Misbehaviour::parse(text.section(u'=', 1));
    if (exchange && misbehaviour)
        service.misbehave(*exchange, *misbehaviour);
    return exchange && misbehaviour;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Plays the web service on a loopback port and prints its origin. Runs until a signal."_s);
    parser.addHelpOption();
    parser.addOptions({
        {u"folder"_s, u"Where meetings and recordings are kept."_s, u"folder"_s, u"localservice"_s},
        {u"port"_s, u"The port; 0 means any free one."_s, u"port"_s, u"0"_s},
        {u"release"_s, u"The version that counts as the latest."_s, u"version"_s, u"1.0.0"_s},
        {u"misbehave"_s,
         u"Answer signUpload, objectUpload, createMeeting, reconcile, identity, latestRelease or "
         "signInPage in another way: %1."_s.arg(Misbehaviour::kinds()),
         u"exchange=kind"_s},
    });
    parser.process(application);

    // Handled by waiting for them below, not by a handler.
    sigset_t ends;
    sigemptyset(&ends);
    for (const int end : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&ends, end);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);

    LocalService service(parser.value(u"folder"_s));
    for (const QString &text : parser.values(u"misbehave"_s)) {
        if (!applyMisbehaviour(service, text)) {
            std::fprintf(stderr, "not understood: %s\n", qPrintable(text));
            return 2;
        }
    }
    if (!service.listen(parser.value(u"port"_s).toInt())) {
        std::fprintf(stderr, "the port is taken\n");
        return 1;
    }
    const QString page = service.origin() + u"/#download"_s;
    service.setLatestRelease({{u"version"_s, parser.value(u"release"_s)},
                              {u"htmlUrl"_s, page},
                              {u"downloadUrl"_s, page}});
    std::printf("%s\n", qPrintable(service.origin()));
    std::fflush(stdout);

    int end = 0;
    sigwait(&ends, &end);
    return 0;
}
