#include "platform/linux/pipewire/CaptureTrack.h"

#include "base/Tasks.h"
#include "platform/AudioBuffer.h"

#include <QCoroFuture>

#include <pthread.h>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
/// Without any cycle for this long, silence is written by the clock, as far behind it.
constexpr MediaTime silenceDelay = 1s;

/// Without any cycle for this long, the capture has ended.
constexpr MediaTime patience = 5s;

/// Another microphone is there within milliseconds; a missing one is told after this.
constexpr MediaTime absenceDelay = 1s;

/// Changes to the sound are logged once none came for this long, so that a gap is one line.
constexpr MediaTime settledDelay = 1s;

/// A stream is linked within milliseconds. One that is not, because the session manager was busy or
/// did not know the microphone yet, is opened again after this, and then less and less often.
constexpr MediaTime firstReopening = 500ms;
constexpr MediaTime latestReopening = 8s;

/// Devices and links are looked at no more often than this while nothing about them changes.
constexpr auto watchPause = 40ms;

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
    , m_assembler(m_settings.sampleRate, m_settings.channelCount,
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
    m_connection = std::move(*connection);
    if (!m_settings.capturesSink) {
        const auto microphone = m_connection->defaultMicrophone();
        if (!microphone)
            return std::unexpected(microphone.error());
        m_microphone = *microphone;
    }
    auto stream = openStream(m_microphone);
    if (!stream)
        return std::unexpected(stream.error());
    m_stream = std::move(*stream);
    m_reopeningDelay = firstReopening;
    m_connection->observeGraph(this, [this] {
        m_graphChanged = true;
        m_wakeUp.wake();
    });
    m_started.start();
    m_worker = std::thread([this] { run(); });
    return {};
}

std::expected<std::unique_ptr<PipeWireStream>, Error>
CaptureTrack::openStream(std::optional<quint64> microphone)
{
    m_lastOpening = mediaNow();
    const PipeWireStreamSettings settings{microphone, m_settings.sampleRate,
                                          m_settings.channelCount};
    return PipeWireStream::open(m_connection, settings, m_wakeUp);
}

void CaptureTrack::close()
{
    const std::scoped_lock lock(m_opening);
    m_isClosed = true;
    if (!m_worker.joinable())
        return;
    m_connection->forgetObserver(this);
    {
        const std::scoped_lock changing(m_streams);
        m_stream->close();
        if (m_nextStream)
            m_nextStream->close();
        m_stopTime = mediaNow();
        m_isStopping = true;
    }
    m_wakeUp.wake();
    m_worker.join();
    m_stream.reset();
    m_nextStream.reset();
    m_connection.reset();
}

void CaptureTrack::run()
{
    const QByteArray name = m_settings.queueName.section(u'.', -2).toUtf8().left(threadNameLength);
    pthread_setname_np(pthread_self(), name.constData());
    m_lastWatch = mediaNow();
    while (!m_isStopping) {
        m_wakeUp.wait(watchInterval);
        drain();
        if (!m_graphChanged.exchange(false) && mediaNow() - m_lastWatch < watchPause)
            continue;
        if (!m_settings.capturesSink)
            followMicrophone();
        watch();
    }
    drain();
    if (m_nextStream && m_nextStream->isLinked())
        goOver();
    writeLog();
    // The rest of a cycle at most, where the stream ran: both tracks end with the recording.
    m_assembler.fillUntil(m_stopTime);
    m_assembler.finish();
    m_logger.info(u"the worker was %1 ms behind at most"_s.arg(milliseconds(m_highestFill)));
    completeStart(std::unexpected(cancelled()));
}

void CaptureTrack::drain()
{
    while (const auto cycle = m_stream->ring().take(m_samples)) {
        m_idle = MediaTime(0);
        m_unanswered = MediaTime(0);
        m_assembler.append(*cycle, m_samples);
        // A stream runs before it is linked, but there is no microphone in it.
        if (!m_hasStarted && (m_settings.capturesSink || m_stream->isLinked()))
            completeStart({});
    }
    m_lostFrames += static_cast<qint64>(m_stream->ring().takeLostFrames());
    m_highestFill = std::max(m_highestFill, static_cast<qint64>(m_stream->ring().highestFill()) /
                                                m_settings.channelCount);
}

void CaptureTrack::followMicrophone()
{
    const std::scoped_lock changing(m_streams);
    if (m_isStopping)
        return;
    const auto wanted = m_connection->defaultMicrophone();
    const PipeWireStream &latest = m_nextStream ? *m_nextStream : *m_stream;
    const bool isLost = !latest.isLinked() && mediaNow() - m_lastOpening > m_reopeningDelay;
    if (wanted && (m_microphone != *wanted || isLost)) {
        m_reopeningDelay = m_microphone != *wanted
                               ? firstReopening
                               : std::min<MediaTime>(2 * m_reopeningDelay, latestReopening);
        m_microphone = *wanted;
        if (auto opened = openStream(m_microphone))
            m_nextStream = std::move(*opened);
        else
            m_logger.error(opened.error().description());
    }
    if (!m_nextStream)
        return;
    if (!m_nextStream->isLinked()) {
        // These cycles came from no device, while the microphone before may still be heard.
        while (m_nextStream->ring().take(m_samples)) {
        }
    } else if (!m_nextStream->ring().isEmpty()) {
        goOver();
    }
}

void CaptureTrack::goOver()
{
    m_stream->close();
    drain();
    m_stream = std::move(m_nextStream);
    m_reopeningDelay = firstReopening;
    m_assembler.changeDevice();
    drain();
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
    if (!m_hasEnded)
        watchServer(elapsed);
    if (!m_hasEnded)
        watchLink(elapsed);
    logWhenSettled(now);
}

void CaptureTrack::watchServer(MediaTime elapsed)
{
    // A microphone that is away delivers nothing; once it was there, that is no fault.
    const bool isExpected = m_settings.capturesSink || !m_hasStarted || m_stream->isLinked();
    m_unanswered = isExpected ? m_unanswered + elapsed : MediaTime(0);
    if (const auto lost = m_connection->failure())
        end(lost->error);
    else if (const auto failure = m_stream->failure(); failure && m_settings.capturesSink)
        end(*failure);
    else if (m_unanswered > patience)
        end(Error(u"声音服务没有响应（%1 秒没有声音数据）"_s.arg(
            std::chrono::floor<std::chrono::seconds>(patience).count())));
}

void CaptureTrack::watchLink(MediaTime elapsed)
{
    const bool isLinked = m_stream->isLinked();
    const bool isExpected =
        !m_settings.capturesSink || !m_connection->ask(&AudioGraph::sinks).isEmpty();
    m_unlinked = isExpected && !isLinked ? m_unlinked + elapsed : MediaTime(0);
    // Some session managers never link a stream again that was there before them.
    if (m_unlinked > patience && (m_settings.capturesSink || !m_hasStarted))
        end(Error(u"录音流没有连接到声音设备（声音服务的会话管理器没有响应）"_s));
    if (m_settings.capturesSink || !m_hasStarted || isLinked == m_isPresent ||
        (!isLinked && m_unlinked < absenceDelay))
        return;
    m_isPresent = isLinked;
    m_settings.presenceChanged(isLinked);
}

void CaptureTrack::logWhenSettled(MediaTime now)
{
    if (m_assembler.record() != m_seen)
        m_lastChange = now;
    m_seen = m_assembler.record();
    if (now - m_lastChange > settledDelay)
        writeLog();
}

void CaptureTrack::writeLog()
{
    if (m_lostFrames > 0)
        m_logger.error(
            u"%1 ms were lost: the worker was held up"_s.arg(milliseconds(m_lostFrames)));
    m_lostFrames = 0;
    const auto &[silence, cut] = m_assembler.record();
    if (m_assembler.record() == m_logged)
        return;
    m_logger.info(u"%1 ms of silence filled in, %2 ms of overlap cut"_s
                      .arg(milliseconds(silence - m_logged.silence))
                      .arg(milliseconds(cut - m_logged.cut)));
    m_logged = m_assembler.record();
}

qint64 CaptureTrack::milliseconds(qint64 frames) const
{
    return frames * 1000 / m_settings.sampleRate;
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
