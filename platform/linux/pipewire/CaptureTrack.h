#pragma once

#include "base/Logger.h"
#include "platform/CaptureService.h"
#include "platform/linux/pipewire/PipeWireServer.h"
#include "platform/linux/pipewire/PipeWireStream.h"
#include "platform/linux/pipewire/TrackAssembler.h"

#include <QCoroTask>
#include <QPromise>

#include <atomic>
#include <deque>
#include <expected>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

/// One source from the sound server to its listener: a stream, and the worker thread that drains
/// it into a continuous track and watches over it.
///
/// A microphone's track never lets through what comes from anywhere else, above all not what the
/// speakers play: without a microphone the session manager links the stream to their monitor.
class CaptureTrack
{
public:
    struct Settings {
        PipeWireStreamSettings stream;
        QString queueName;                 ///< the worker is named by the end of it
        const char *logCategory = nullptr; ///< a literal
        /// For a microphone: none was there for a second, or one is there again. On the worker.
        std::function<void(bool isPresent)> presenceChanged;
    };

    /// \p server and \p listener outlive the track. The listener is called on the worker.
    CaptureTrack(PipeWireServer &server, CaptureListener &listener, Settings settings);
    CaptureTrack(const CaptureTrack &) = delete;
    CaptureTrack &operator=(const CaptureTrack &) = delete;
    ~CaptureTrack();

    /// Completes once the first sound has arrived. Once in a track's life.
    static QCoro::Task<std::expected<void, Error>> start(std::shared_ptr<CaptureTrack> track);

    /// Hands out what was captured, up to now, and ends. The listener is told nothing afterwards.
    static QCoro::Task<> stop(std::shared_ptr<CaptureTrack> track);

    /// The same, waiting for it: usually some milliseconds. Not on the worker.
    void close();

private:
    /// What was done to the sound so far, in frames.
    struct Record {
        TrackAssembler::Record assembled;
        qint64 withheld = 0; ///< silenced, because it may not have come from a microphone

        bool operator==(const Record &) const = default;
    };

    struct HeldCycle {
        CapturedCycle cycle;
        std::vector<float> samples;
    };

    std::expected<void, Error> open();
    bool isMicrophone() const { return !m_settings.stream.capturesSink; }

    // The worker.
    void run();
    void takeArrived();
    void drain(MediaTime hold);
    bool mayBeHeard(const CapturedCycle &cycle, MediaTime hold);
    void watch();
    void watchStream(MediaTime elapsed);
    void watchOutputLink(MediaTime elapsed);
    void watchMicrophone(MediaTime now);
    void logWhenSettled(MediaTime now);
    void writeLog();
    void completeStart(const std::expected<void, Error> &outcome);
    void end(const Error &reason);

    PipeWireServer &m_server;
    CaptureListener &m_listener;
    const Settings m_settings;
    const Logger m_logger;
    std::mutex m_opening; ///< held by open() and close()
    bool m_isClosed = false;
    std::unique_ptr<PipeWireStream> m_stream;
    std::thread m_worker;
    std::atomic<bool> m_isStopping{false};
    MediaTime m_stopTime{0}; ///< written before m_isStopping
    QPromise<std::expected<void, Error>> m_started;

    // The worker's own.
    TrackAssembler m_assembler;
    std::deque<HeldCycle> m_held; ///< arrived, and waiting for the news; not in the ring, which
                                  ///< begins at its front only when it is empty
    qint64 m_withheld = 0;
    Record m_logged;
    Record m_seen; ///< at the last look
    MediaTime m_lastChange{0};
    MediaTime m_lastWatch{0};
    MediaTime m_idle{0};     ///< how long nothing has arrived, while we ran
    MediaTime m_unlinked{0}; ///< how long an output has not been linked, while we ran
    bool m_hasStarted = false;
    bool m_hasEnded = false;
    bool m_isPresent = true;
};
