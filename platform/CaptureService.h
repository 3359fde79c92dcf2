#pragma once

#include "base/Error.h"
#include "platform/AudioBuffer.h"

#include <QCoroTask>
#include <QList>
#include <QString>

#include <expected>
#include <memory>

/// One output of the machine whose sound can be captured.
struct CaptureTarget {
    quint32 id = 0;
};

/// The format that a capture delivers.
struct CaptureFormat {
    int sampleRate = 48000; ///< frames per second
    int channelCount = 2;
    bool excludesOwnAudio = true; ///< the sound of this process is left out
};

/// Receives what a capture stream has to say. Outlives the stream, or is told nothing after stop().
class CaptureListener
{
public:
    virtual ~CaptureListener() = default;

    /// Sound, in order, on the stream's serial queue. Without holes: where the device delivered
    /// nothing the buffers hold silence, and presentation times count frames exactly.
    virtual void didCapture(const AudioBuffer &buffer) = 0;

    /// The capture ended by itself; called at most once, on any thread.
    virtual void didStop(const Error &reason) = 0;
};

/// One capture of everything that is played. Made and used on the main thread.
class CaptureStream
{
public:
    virtual ~CaptureStream() = default;

    /// Registers the receiver, and names the serial queue (thread) that calls it.
    virtual std::expected<void, Error> deliverTo(CaptureListener &listener,
                                                 const QString &queueName) = 0;

    /// Completes once sound (or silence) arrives. Fails within a few seconds otherwise.
    virtual QCoro::Task<std::expected<void, Error>> start() = 0;

    /// Ends the capture. What was captured before is delivered first; nothing is afterwards.
    virtual QCoro::Task<> stop() = 0;
};

/// The desktop's ability to record what the machine plays. Main thread.
class CaptureService
{
public:
    virtual ~CaptureService() = default;

    /// The outputs that can be captured. Fails where access is refused or the sound server cannot
    /// be reached.
    virtual QCoro::Task<std::expected<QList<CaptureTarget>, Error>> targets() = 0;

    /// A stream that follows the default output, starting at \p target. Never null.
    virtual std::unique_ptr<CaptureStream> makeStream(const CaptureTarget &target,
                                                      const CaptureFormat &format) = 0;
};
