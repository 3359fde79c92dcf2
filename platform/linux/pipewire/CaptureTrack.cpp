#include "platform/linux/pipewire/CaptureTrack.h"

#include "base/Tasks.h"
#include "platform/linux/pipewire/MediaClock.h"

#include <QCoroFuture>

#include <pthread.h>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
/// How long a microphone's sound waits for the news of what the stream is linked to.
constexpr MediaTime newsDelay = 100ms;

/// Sound may be this much older than the cycle it came with.
constexpr MediaTime pipelineDelay = 50ms;

/// How long the server may take to tell what the stream is linked to.
constexpr auto answerLimit = 500ms;

/// Without any cycle for this long, silence is written by the clock, as far behind it.
constexpr MediaTime silenceDelay = 1s;

/// Without any cycle for this long, the capture has ended.
constexpr MediaTime patience = 5s;

/// A relink takes milliseconds; a missing microphone is told after this.
constexpr MediaTime absenceDelay = 1s;

/// What is done to the sound is logged when nothing was for this long: a gap is one line.
constexpr MediaTime settledDelay = 1s;

constexpr auto watchInterval = 250ms;

/// The system cuts names of threads to this many bytes.
constexpr qsizetype threadNameLength = 15;

Error cancelled()
{
    return Error(u"录音已取消"_s);
}
} // namespace

CaptureTrack::CaptureTrack(PipeWireServer &server, CaptureListener &listener, Settings settings)
    : m_server(server)
    , m_listener(listener)
    , m_settings(std::move(settings))
    , m_logger(m_settings.logCategory)
    , m_assembler(m_settings.stream.sampleRate, m_settings.stream.channelCount,
                  [this](const AudioBuffer &buffer) { m_listener.didCapture(buffer); })
{
}

CaptureTrack::~CaptureTrack()
{
    close();
}

QCoro::Task<std::expected<void, Error>> CaptureTrack::start(std::shared_ptr<CaptureTrack> track)
{
    const auto opening = inBackground([track] { return track->open(); });
    auto outcome = co_await opening;
    if (outcome) {
        const auto started = track->m_started.future();
        outcome = co_await started;
    }
    if (!outcome)
        co_await stop(track);
    co_return outcome;
}

QCoro::Task<> CaptureTrack::stop(std::shared_ptr<CaptureTrack> track)
{
    const auto closing = inBackground([track] { track->close(); });
    co_await closing;
}

std::expected<void, Error> CaptureTrack::open()
{
    const std::scoped_lock lock(m_opening);
    if (m_isClosed)
        return std::unexpected(cancelled());
    auto connection = m_server.connection();
    if (!connection)
        return std::unexpected(connection.error().error);
    auto stream = PipeWireStream::open(std::move(*connection), m_settings.stream);
    if (!stream)
        return std::unexpected(stream.error());
    m_stream = std::move(*stream);
    m_started.start();
    m_worker = std::thread([this] { run(); });
    return {};
}

void CaptureTrack::close()
{
    const std::scoped_lock lock(m_opening);
    m_isClosed = true;
    if (!m_worker.joinable())
        return;
    // The last sound must not be let through on old news.
    if (isMicrophone())
        m_stream->connection().roundTrip(answerLimit);
    m_stream->close();
    m_stopTime = mediaNow();
    m_isStopping = true;
    m_stream->wake();
    m_worker.join();
    m_stream.reset();
}

void CaptureTrack::run()
{
    const QByteArray name = m_settings.queueName.toUtf8().right(threadNameLength);
    pthread_setname_np(pthread_self(), name.constData());
    m_lastWatch = mediaNow();
    const MediaTime hold = isMicrophone() ? newsDelay : MediaTime(0);
    while (!m_isStopping) {
        m_stream->wait(m_held.empty() ? watchInterval
                                      : std::chrono::round<std::chrono::milliseconds>(hold));
        drain(hold);
        watch();
    }
    drain(MediaTime(0));
    // A stream that runs ends within a cycle of its stop.
    if (m_stopTime - m_assembler.end() > newsDelay)
        m_assembler.fillUntil(m_stopTime);
    m_assembler.finish();
    writeLog();
    const auto samples = m_stream->ring().highestFill();
    const auto frames = static_cast<qint64>(samples) / m_settings.stream.channelCount;
    m_logger.info(
        u"the worker was %1 ms behind at most"_s.arg(frames * 1000 / m_settings.stream.sampleRate));
    completeStart(std::unexpected(cancelled()));
}

void CaptureTrack::takeArrived()
{
    for (;;) {
        HeldCycle arrived;
        const auto cycle = m_stream->ring().take(arrived.samples);
        if (!cycle)
            return;
        arrived.cycle = *cycle;
        m_idle = MediaTime(0);
        completeStart({});
        m_held.push_back(std::move(arrived));
    }
}

void CaptureTrack::drain(MediaTime hold)
{
    takeArrived();
    for (; !m_held.empty() && m_held.front().cycle.now + hold <= mediaNow(); m_held.pop_front()) {
        HeldCycle &held = m_held.front();
        const bool isHeard = !isMicrophone() || mayBeHeard(held.cycle, hold);
        if (!isHeard) {
            std::ranges::fill(held.samples, 0.0F);
            m_withheld += held.cycle.frames;
        }
        m_assembler.append(held.cycle, held.samples);
    }
}

bool CaptureTrack::mayBeHeard(const CapturedCycle &cycle, MediaTime hold)
{
    // Another driver may mean another device, before anybody told us.
    if (!m_assembler.continues(cycle) && !m_stream->connection().roundTrip(answerLimit))
        return false;
    return !m_stream->feeds().wasOther(cycle.now - pipelineDelay, cycle.now + hold);
}

void CaptureTrack::watch()
{
    const MediaTime now = mediaNow();
    // While this process was stopped nothing could arrive.
    const MediaTime elapsed = std::min<MediaTime>(now - m_lastWatch, 2 * watchInterval);
    m_lastWatch = now;
    m_idle += elapsed;
    if (m_idle > silenceDelay)
        m_assembler.fillUntil(now - silenceDelay);
    watchStream(elapsed);
    if (m_hasStarted && !m_hasEnded && isMicrophone())
        watchMicrophone(now);
    logWhenSettled(now);
}

void CaptureTrack::watchStream(MediaTime elapsed)
{
    if (m_hasEnded)
        return;
    if (const auto failure = m_stream->failure())
        end(*failure);
    else if (m_idle > patience)
        end(Error(u"声音服务没有响应（%1 秒没有声音数据）"_s.arg(
            std::chrono::floor<std::chrono::seconds>(patience).count())));
    else if (!isMicrophone())
        watchOutputLink(elapsed);
}

void CaptureTrack::watchOutputLink(MediaTime elapsed)
{
    const bool isMissing = m_stream->feeds().current() == Feed::nothing &&
                           !m_stream->connection().graph().sinks().isEmpty();
    m_unlinked = isMissing ? m_unlinked + elapsed : MediaTime(0);
    // Some session managers never link a stream again that was there before them.
    if (m_unlinked > patience)
        end(Error(u"录音流没有连接到输出设备（声音服务的会话管理器没有响应）"_s));
}

void CaptureTrack::watchMicrophone(MediaTime now)
{
    const FeedHistory feeds = m_stream->feeds();
    const bool isLinked = feeds.current() == Feed::microphone;
    if (isLinked == m_isPresent)
        return;
    if (!isLinked && now - feeds.since().value_or(now) < absenceDelay)
        return;
    m_isPresent = isLinked;
    m_settings.presenceChanged(isLinked);
}

void CaptureTrack::logWhenSettled(MediaTime now)
{
    const Record record{m_assembler.record(), m_withheld};
    if (record != m_seen)
        m_lastChange = now;
    m_seen = record;
    if (now - m_lastChange > settledDelay)
        writeLog();
}

void CaptureTrack::writeLog()
{
    const auto milliseconds = [this](qint64 frames) {
        return frames * 1000 / m_settings.stream.sampleRate;
    };
    if (const auto lost = static_cast<qint64>(m_stream->ring().takeLostFrames()); lost > 0)
        m_logger.error(u"%1 ms were lost: the worker was held up"_s.arg(milliseconds(lost)));
    const Record record{m_assembler.record(), m_withheld};
    if (record == m_logged)
        return;
    const auto &[silence, cut] = record.assembled;
    m_logger.info(u"%1 ms of silence filled in, %2 ms of overlap cut, %3 ms withheld"_s
                      .arg(milliseconds(silence - m_logged.assembled.silence))
                      .arg(milliseconds(cut - m_logged.assembled.cut))
                      .arg(milliseconds(record.withheld - m_logged.withheld)));
    m_logged = record;
}

void CaptureTrack::completeStart(const std::expected<void, Error> &outcome)
{
    if (m_hasStarted)
        return;
    m_hasStarted = true;
    m_started.addResult(outcome);
    m_started.finish();
}

void CaptureTrack::end(const Error &reason)
{
    m_hasEnded = true;
    if (m_hasStarted)
        m_listener.didStop(reason);
    else
        completeStart(std::unexpected(reason));
}
