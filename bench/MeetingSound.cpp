#include "bench/MeetingSound.h"

#include <QProcess>
#include <QStringList>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace
{
void runTool(const QString &program, const QStringList &arguments)
{
    if (QProcess::execute(program, arguments) != 0) {
        std::fprintf(stderr, "%s failed\n", qPrintable(program));
        std::exit(1);
    }
}

/// For FFmpeg's aevalsrc: a string that is plucked every second, during a third of the time.
QString pluckedChord(const QString &frequency)
{
    return u"st(0,2*PI*t*(%1));lt(mod(t,60),20)*0.12*exp(-3*mod(t,1))*(sin(ld(0))"
           "+0.6*sin(2.003*ld(0))+0.4*sin(3.01*ld(0))+0.3*sin(4.02*ld(0))+0.2*sin(5.05*ld(0))"
           "+0.1*sin(7.1*ld(0)))"_s.arg(frequency);
}
} // namespace

void makeMeetingSound(const QDir &folder, int seconds)
{
    const QString far =
        u"The quarterly numbers look better than we expected, but let us go through "
        "the open points one by one. Who takes the first? I would rather wait for "
        "the review, and then decide. "_s.repeated(4);
    const QString near = u"好的，我先说一下进展。上周我们完成了第一部分，测试也都通过了。"
                         "还有两个问题需要讨论，大概十分钟。"_s.repeated(4);
    runTool(u"espeak-ng"_s, {u"-v"_s, u"en"_s, u"-w"_s, folder.filePath(u"far.wav"_s), far});
    runTool(u"espeak-ng"_s, {u"-v"_s, u"cmn"_s, u"-w"_s, folder.filePath(u"near.wav"_s), near});
    const QStringList raw{u"-t"_s,   QString::number(seconds), u"-ar"_s, u"48000"_s, u"-f"_s,
                          u"f32le"_s};
    const QStringList quiet{u"-v"_s, u"error"_s, u"-y"_s, u"-stream_loop"_s, u"-1"_s, u"-i"_s};
    const QString music = u"aevalsrc='%1+%3|%2+%3':s=48000"_s.arg(
        pluckedChord(u"220+55*floor(mod(t,4))"_s), pluckedChord(u"277+69*floor(mod(t,4))"_s),
        u"lt(mod(t,60),20)*0.03*(random(3)-0.5)*exp(-30*mod(t,0.25))"_s);
    runTool(u"ffmpeg"_s,
            quiet +
                QStringList{folder.filePath(u"far.wav"_s), u"-f"_s, u"lavfi"_s, u"-i"_s, music,
                            u"-f"_s, u"lavfi"_s, u"-i"_s, u"anoisesrc=a=0.002:r=48000"_s,
                            u"-filter_complex"_s,
                            u"[0]aresample=48000,pan=stereo|c0=0.5*c0|c1=0.35*c0[v];"
                            "[2]pan=stereo|c0=c0|c1=c0[n];[v][1][n]amix=3:normalize=0"_s} +
                raw + QStringList{folder.filePath(u"system.raw"_s)});
    runTool(u"ffmpeg"_s,
            quiet +
                QStringList{folder.filePath(u"near.wav"_s), u"-f"_s, u"lavfi"_s, u"-i"_s,
                            u"anoisesrc=c=pink:a=0.01:r=48000"_s, u"-filter_complex"_s,
                            u"[0]aresample=48000,volume=0.4[v];[v][1]amix=2:normalize=0"_s,
                            u"-ac"_s, u"1"_s} +
                raw + QStringList{folder.filePath(u"mic.raw"_s)});
}
