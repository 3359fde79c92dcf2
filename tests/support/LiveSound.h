#pragma once

#include "platform/linux/pipewire/PipeWireCaptureService.h"
#include "platform/linux/pipewire/PipeWireMicrophones.h"
#include "tests/support/KeptSound.h"

#include <memory>

/// A connection to the private session's sound server.
struct Connection {
    PipeWireServer server;
    TrackOrigin origin;
};

/// A capture of what the private session plays, from its creation to end().
class LiveCapture
{
public:
    /// \p stall holds up its first buffer.
    explicit LiveCapture(Connection &connection, std::chrono::seconds stall = {});

    /// Until so much was captured.
    bool waitFor(double seconds) const;
    void end();

    KeptCapture kept;
    std::expected<void, Error> started;
    qint64 startMilliseconds = 0;
    double stopMilliseconds = 0;
    double lengthError = 1.0; ///< seconds by which the track is longer than the clock says

private:
    PipeWireCaptureService m_service;
    std::unique_ptr<CaptureStream> m_stream;
};

/// A recording of the private session's microphone, from its creation to end().
class LiveMicrophone
{
public:
    explicit LiveMicrophone(Connection &connection);

    bool waitFor(double seconds) const;
    void end();

    KeptSoundWriters writers;
    QString refusal;
    QList<MicrophoneEvent::Kind> events;
    QStringList texts; ///< of the events
    bool isRunning = false;
    qint64 startMilliseconds = 0;
    double lengthError = 1.0;

private:
    PipeWireMicrophones m_microphones;

public:
    std::unique_ptr<MicrophoneRecorder> recorder; ///< none where it was refused
};
