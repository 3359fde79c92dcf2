#pragma once

#include "base/Error.h"
#include "platform/AudioFileWriter.h"

#include <QCoroTask>
#include <QString>

#include <expected>
#include <functional>
#include <memory>

/// Something happened to the microphone while it was being recorded.
struct MicrophoneEvent {
    enum class Kind {
        interrupted, ///< no microphone is there; silence is written until one comes back
        resumed,     ///< a microphone is there again
        ended,       ///< the recorder has stopped by itself; the file so far is kept
    };
    Kind kind;
    QString text; ///< a sentence for the user; empty for `resumed`
};

/// Records the default microphone, and whichever becomes the default later, into one file.
///
/// Made and used on the main thread; averagePower() may be called on any.
class MicrophoneRecorder
{
public:
    virtual ~MicrophoneRecorder() = default;

    /// Whether averagePower() measures. Before record().
    virtual void setMeteringEnabled(bool enabled) = 0;

    /// Called on the main thread for every event between record() and stop().
    virtual void setEventHandler(std::function<void(const MicrophoneEvent &)> handler) = 0;

    /// Creates the file and readies the encoder. False when that is impossible.
    virtual QCoro::Task<bool> prepare() = 0;

    /// Completes once sound arrives. False within a few seconds otherwise.
    virtual QCoro::Task<bool> record() = 0;

    /// Ends the recording and closes the file. What was captured before is in it.
    virtual QCoro::Task<> stop() = 0;

    /// Mean power of the sound of the last tenth of a second in \p channel (0 is the first), in
    /// decibels relative to full scale: -160 to 0. A full-scale sine has -3.
    virtual float averagePower(int channel) const = 0;
};

/// The desktop's microphones. Main thread.
class Microphones
{
public:
    virtual ~Microphones() = default;

    /// Asks for the right to record; answers at once where that was decided before.
    virtual QCoro::Task<bool> requestAccess() = 0;

    /// A recorder into the file at \p path (absolute). Fails where there is no microphone.
    virtual QCoro::Task<std::expected<std::unique_ptr<MicrophoneRecorder>, Error>>
    create(QString path, AudioEncoding encoding) = 0;
};
