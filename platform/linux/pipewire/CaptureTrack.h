#pragma once

#include "base/Logger.h"
#include "platform/CaptureService.h"
#include "platform/linux/pipewire/PipeWireServer.h"
#include "platform/linux/pipewire/PipeWireStream.h"
#include "platform/linux/pipewire/TrackAssembler.h"

#include <QCoroTask>
#include <QPromise>

#include <atomic>
#include <expected>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

/// One source from the sound server to its listener: a stream, and the worker thread that drains
/// it into a continuous track and watches over it.
///
/// A microphone's stream belongs to one microphone. When another one becomes the default, the
/// worker opens a stream of that one and goes over to it once its sound arrives, so that nothing is
/// lost in between; while there is none the track is silent.
class CaptureTrack
{
public:
    struct Settings {
        bool capturesSink = false; ///< what is played, instead of the default microphone
        int sampleRate = 48000;    ///< frames per second
        int channelCount = 1;
        QString queueName;                 ///< the worker has its last two words for a name
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
    std::expected<void, Error> open();
    std::expected<std::unique_ptr<PipeWireStream>, Error>
    openStream(std::optional<quint64> microphone);

    // The worker.
    void run();
    void drain();
    void followMicrophone();
    void goOver();
    void watch();
    void watchServer(MediaTime elapsed);
    void watchLink(MediaTime elapsed);
    void logWhenSettled(MediaTime now);
    void writeLog();
    qint64 milliseconds(qint64 frames) const;
    void completeStart(const std::expected<void, Error> &outcome);
    void end(const Error &reason);

    PipeWireServer &m_server;
    CaptureListener &m_listener;
    const Settings m_settings;
    const Logger m_logger;
    std::mutex m_opening; ///< held by open() and close()
    bool m_isClosed = false;
    std::shared_ptr<PipeWireConnection> m_connection;
    WakeUp m_wakeUp;
    std::mutex m_streams; ///< held by who changes what follows
    std::unique_ptr<PipeWireStream> m_stream;
    std::unique_ptr<PipeWireStream> m_nextStream; ///< of another microphone, until it has sound
    std::thread m_worker;
    std::atomic<bool> m_isStopping{false};
    std::atomic<bool> m_graphChanged{true}; ///< since the worker looked
    MediaTime m_stopTime{0};                ///< written before m_isStopping
    QPromise<std::expected<void, Error>> m_started;

    // The worker's own.
    TrackAssembler m_assembler;
    std::vector<float> m_samples;        ///< of the cycle in hand
    std::optional<quint64> m_microphone; ///< whose stream was opened last
    MediaTime m_reopeningDelay{0}; ///< from the last opening to the next, where it is not linked
    qint64 m_lostFrames = 0;       ///< not logged yet
    qint64 m_highestFill = 0;      ///< frames that waited at the worst moment
    MediaTime m_lastOpening{0};    ///< of a stream
    TrackAssembler::Record m_logged;
    TrackAssembler::Record m_seen; ///< at the last look
    MediaTime m_lastChange{0};
    MediaTime m_lastWatch{0};
    // How long something has lasted, while we ran.
    MediaTime m_idle{0};       ///< nothing arrived
    MediaTime m_unanswered{0}; ///< nothing arrived although a device is linked
    MediaTime m_unlinked{0};   ///< a device should be linked and is not
    bool m_hasStarted = false;
    bool m_hasEnded = false;
    bool m_isPresent = true;
};
