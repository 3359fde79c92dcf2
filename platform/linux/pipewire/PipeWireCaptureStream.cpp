#include "platform/linux/pipewire/PipeWireCaptureStream.h"

#include "platform/linux/pipewire/CaptureTrack.h"

using namespace Qt::StringLiterals;

/// The track with its listener; lives until everybody who awaits it is done.
struct PipeWireCaptureStream::Capture : CaptureListener {
    Capture(PipeWireServer &server, TrackOrigin &sharedOrigin, CaptureListener &receiver,
            const CaptureTrack::Settings &settings)
        : origin(sharedOrigin)
        , listener(receiver)
        , track(std::make_shared<CaptureTrack>(server, *this, settings))
    {
    }

    void didCapture(const AudioBuffer &buffer) override
    {
        if (!hasBegun)
            origin.set(buffer.presentationTime);
        hasBegun = true;
        listener.didCapture(buffer);
    }

    void didStop(const Error &reason) override { listener.didStop(reason); }

    TrackOrigin &origin;
    CaptureListener &listener;
    bool hasBegun = false; ///< the worker's
    std::shared_ptr<CaptureTrack> track;
};

PipeWireCaptureStream::PipeWireCaptureStream(PipeWireServer &server, TrackOrigin &origin,
                                             const CaptureFormat &format)
    : m_server(server)
    , m_origin(origin)
    , m_format(format)
{
}

PipeWireCaptureStream::~PipeWireCaptureStream()
{
    if (!m_capture)
        return;
    m_capture->track->close();
    if (!m_isStopped)
        m_origin.clear();
}

std::expected<void, Error> PipeWireCaptureStream::deliverTo(CaptureListener &listener,
                                                            const QString &queueName)
{
    if (m_capture)
        return std::unexpected(Error(u"录音流已有接收者"_s));
    const CaptureTrack::Settings settings{.capturesSink = true,
                                          .sampleRate = m_format.sampleRate,
                                          .channelCount = m_format.channelCount,
                                          .queueName = queueName,
                                          .logCategory = "audio.system",
                                          .presenceChanged = {}};
    m_capture = std::make_shared<Capture>(m_server, m_origin, listener, settings);
    return {};
}

QCoro::Task<std::expected<void, Error>> PipeWireCaptureStream::start()
{
    const std::shared_ptr<Capture> capture = m_capture;
    if (!capture)
        co_return std::unexpected(Error(u"录音流没有接收者"_s));
    const auto outcome = co_await CaptureTrack::start(capture->track);
    co_return outcome;
}

QCoro::Task<> PipeWireCaptureStream::stop()
{
    const std::shared_ptr<Capture> capture = m_capture;
    if (!capture || std::exchange(m_isStopped, true))
        co_return;
    co_await CaptureTrack::stop(capture->track);
    capture->origin.clear();
}
