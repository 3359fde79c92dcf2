// What the tray icon and its panel cost. To be run inside a private session, by bench/panel:
//
//     bench_panel PROGRAM
//
// Plays the desktop's host of tray icons, so that it sees when the icon is there and can click it,
// and looks at the screen to see when the panel is painted. The list has 10,000 entries.

#include "core/RecentsFile.h"
#include "core/RecordingFile.h"
#include "core/SessionText.h"
#include "platform/linux/desktop/SystemClock.h"
#include "tests/support/TrayHost.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QHash>
#include <QProcess>
#include <QTest>

#include <unistd.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
constexpr int entryCount = 10'000;
constexpr int startCount = 7;
constexpr int clickCount = 11;
constexpr auto measured = 20s;

// The panel opens below the pointer: this is in its footer, beside all texts.
constexpr int pointerX = 640;
constexpr int pointerY = 10;
constexpr int footerX = pointerX - 176;
constexpr int footerY = pointerY + 690;
constexpr quint32 footerColor = 0x241a15;

double milliseconds(const QElapsedTimer &timer)
{
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "bench_panel: %s\n", what);
        std::exit(1);
    }
}

/// What can be seen of the panel.
class Screen
{
public:
    Screen()
    {
        require(xcb_connection_has_error(m_connection.get()) == 0, "there is no display");
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())).data->root;
        xcb_warp_pointer(m_connection.get(), XCB_NONE, m_root, 0, 0, 0, 0, pointerX, pointerY);
        xcb_flush(m_connection.get());
    }

    bool showsPanel() const
    {
        const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> image(
            xcb_get_image_reply(m_connection.get(),
                                xcb_get_image(m_connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, m_root,
                                              footerX, footerY, 1, 1, ~0U),
                                nullptr),
            &std::free);
        require(image && xcb_get_image_data_length(image.get()) == 4, "the screen cannot be seen");
        quint32 pixel = 0;
        std::memcpy(&pixel, xcb_get_image_data(image.get()), sizeof pixel);
        return (pixel & 0xffffffU) == footerColor;
    }

    void waitForPanel(bool isShown) const
    {
        QElapsedTimer timer;
        timer.start();
        while (showsPanel() != isShown) {
            require(timer.elapsed() < 10'000, "the panel does not come or go");
            std::this_thread::sleep_for(200us);
        }
    }

private:
    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> m_connection{
        xcb_connect(nullptr, nullptr), &xcb_disconnect};
    xcb_window_t m_root = XCB_NONE;
};

struct Usage {
    double seconds = 0.0; ///< of one core
    double switches = 0.0;
};

/// The program under measurement.
class Program
{
public:
    Program(const QString &path, TrayHost &host)
    {
        m_timer.start();
        m_process.setProcessChannelMode(QProcess::ForwardedChannels);
        m_process.start(path, QStringList());
        require(host.waitForIcon(), "no icon comes");
        startMilliseconds = milliseconds(m_timer);
    }
    ~Program()
    {
        m_process.terminate();
        require(m_process.waitForFinished(), "the program does not end");
    }
    Q_DISABLE_COPY_MOVE(Program)

    /// Until the work after a start, the look for a newer version among it, is over.
    void settle() const { QTest::qWait(std::max(0, 8000 - static_cast<int>(m_timer.elapsed()))); }

    void report(const char *what) const
    {
        const auto before = usage();
        QElapsedTimer timer;
        timer.start();
        QTest::qWait(std::chrono::milliseconds(measured).count());
        const auto after = usage();
        const double seconds = milliseconds(timer) / 1e3;
        Usage spent;
        for (const auto &[task, used] : after.asKeyValueRange()) {
            spent.seconds += used.seconds - before.value(task).seconds;
            spent.switches += used.switches - before.value(task).switches;
        }
        std::printf("%-28s %6.2f %% of a core, %6.1f wake-ups/s\n", what,
                    100.0 * spent.seconds / seconds, spent.switches / seconds);
    }

    double residentMegabytes() const
    {
        const auto pages = content(u"statm"_s).split(' ').value(1).toDouble();
        return pages * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
    }

    double startMilliseconds = 0.0; ///< until the icon was there

private:
    QByteArray content(const QString &name) const
    {
        QFile file(u"/proc/%1/%2"_s.arg(m_process.processId()).arg(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /// By thread: those that have ended meanwhile would be counted backwards in a sum.
    QHash<QString, Usage> usage() const
    {
        QHash<QString, Usage> tasks;
        const QDir folder(u"/proc/%1/task"_s.arg(m_process.processId()));
        for (const QString &task : folder.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            const QByteArray times = content(u"task/%1/schedstat"_s.arg(task));
            const QByteArray status = content(u"task/%1/status"_s.arg(task));
            const QByteArray key = "\nvoluntary_ctxt_switches:";
            const auto line = status.mid(status.indexOf(key) + key.size());
            tasks.insert(task, {.seconds = times.split(' ').value(0).toDouble() / 1e9,
                                .switches = line.left(line.indexOf('\n')).trimmed().toDouble()});
        }
        return tasks;
    }

    QElapsedTimer m_timer;
    QProcess m_process;
};

void writeList()
{
    const QString folder = QDir::home().filePath(u"Documents/Parlovance"_s);
    require(QDir().mkpath(folder), "no folder for the list");
    const SystemClock clock;
    QList<RecentSession> sessions;
    for (int i = 0; i < entryCount; ++i) {
        const QDateTime start = clock.now().addSecs(-i * 3600LL);
        const QString name = start.toString(u"'recording-'yyyy-MM-dd-HH-mm-ss'.m4a'"_s);
        const QUrl file = QUrl::fromLocalFile(QDir(folder).filePath(name));
        sessions.append(RecentSession{.title = u"周会：第 %1 次讨论"_s.arg(i),
                                      .duration = u"1h 2m"_s,
                                      .durationSeconds = 3720,
                                      .when = relativeTime(start, clock.now()),
                                      .startedAt = start,
                                      .fileURL = file,
                                      .remoteID = u"meeting-%1"_s.arg(i),
                                      .clientRecordingId = clientRecordingId(file)});
    }
    require(RecentsFile(clock).save(folder, sessions).has_value(), "the list cannot be written");
}

void pressRecordKeys()
{
    require(QProcess::execute(u"xdotool"_s, {u"key"_s, u"ctrl+alt+r"_s}) == 0, "no xdotool");
    QTest::qWait(3000); // until it has begun
}

void reportStarts(const QString &path, TrayHost &host)
{
    std::vector<double> starts;
    starts.reserve(startCount);
    for (int i = 0; i < startCount; ++i)
        starts.push_back(Program(path, host).startMilliseconds);
    std::printf("%-28s %6.1f ms (slowest %.1f)\n", "start to icon", median(starts),
                *std::ranges::max_element(starts));
}

void reportClicks(const TrayHost &host, const Screen &screen)
{
    std::vector<double> clicks;
    clicks.reserve(clickCount);
    for (int i = 0; i < clickCount; ++i) {
        QElapsedTimer timer;
        timer.start();
        require(host.click(pointerX, pointerY), "the icon takes no click");
        screen.waitForPanel(true);
        clicks.push_back(milliseconds(timer));
        QTest::qWait(300);
        require(host.click(pointerX, pointerY), "the icon takes no click");
        screen.waitForPanel(false);
        QTest::qWait(300);
    }
    std::printf("%-28s %6.1f ms the first, %.1f ms later (slowest %.1f)\n",
                "click to painted panel", clicks[0], median(clicks),
                *std::max_element(clicks.begin() + 1, clicks.end()));
}
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    require(argc == 2, "which program?");
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const QString path = QString::fromLocal8Bit(argv[1]);
    writeList();
    TrayHost host;
    require(host.isRegistered(), "there is another registry of tray icons");
    const Screen screen;
    reportStarts(path, host);

    const Program program(path, host);
    program.settle();
    program.report("never opened, idle");
    reportClicks(host, screen);
    program.report("closed, idle");
    std::printf("%-28s %6.1f MB\n", "resident, has been open", program.residentMegabytes());
    require(host.click(pointerX, pointerY), "the icon takes no click");
    screen.waitForPanel(true);
    program.report("open, idle");
    pressRecordKeys();
    program.report("open, recording");
    require(host.click(pointerX, pointerY), "the icon takes no click");
    screen.waitForPanel(false);
    program.report("closed, recording");
    std::printf("%-28s %6.1f MB\n", "resident, recording", program.residentMegabytes());
    return 0;
}
