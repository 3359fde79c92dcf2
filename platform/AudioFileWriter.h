#pragma once

#include "base/Error.h"
#include "platform/AudioBuffer.h"

#include <QCoroTask>
#include <QString>

#include <expected>
#include <memory>
#include <optional>

/// How a track is encoded: AAC (low complexity) in an MPEG-4 audio file.
struct AudioEncoding {
    int sampleRate = 48000; ///< frames per second
    int channelCount = 2;
    int bitRate = 128000;     ///< bits per second
    int highestFrequency = 0; ///< Hz; 0 for the encoder's own choice
};

/// Writes one track into one file, which plays at any moment up to the last second or so.
///
/// Used by one thread at a time: by a background one until it is written to, because the disk may
/// keep it waiting, then by the one that calls startSession() and append(). The sound is encoded
/// and written by the caller's thread.
class AudioFileWriter
{
public:
    virtual ~AudioFileWriter() = default;

    /// False when the encoder cannot be made for \p encoding. Before startWriting(), once.
    virtual bool addInput(const AudioEncoding &encoding) = 0;

    /// Creates the file; one that stands there is replaced. False when that is impossible.
    virtual bool startWriting() = 0;

    /// Makes \p presentationTime the file's time zero.
    virtual void startSession(MediaTime presentationTime) = 0;

    /// False once nothing more can be written; failure() then says why.
    virtual bool isReady() const = 0;

    /// Encodes \p buffer at its presentation time: a hole before it becomes silence of that length,
    /// what overlaps earlier sound is cut off. False when it could not be written.
    virtual bool append(const AudioBuffer &buffer) = 0;

    /// Why writing ended early, for example a full disk. Same thread as append(), or after it.
    virtual std::optional<Error> failure() const = 0;

    /// Encodes what is pending and closes the file. What is on disk stays playable whatever
    /// happens. Runs off the calling thread.
    virtual QCoro::Task<> finish() = 0;

    /// Closes the file as it is, for the caller to remove.
    virtual void cancel() = 0;
};

class AudioFileWriterFactory
{
public:
    virtual ~AudioFileWriterFactory() = default;

    /// A writer for the file at \p path (absolute). Changes nothing on disk yet. Any thread.
    virtual std::expected<std::unique_ptr<AudioFileWriter>, Error> create(const QString &path) = 0;
};
