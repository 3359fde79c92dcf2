#pragma once

#include "platform/AudioFileWriter.h"
#include "platform/CaptureService.h"

#include <QMutex>
#include <QStringList>

#include <vector>

/// A track in memory, every sample at its presentation time. Any thread.
class KeptSound
{
public:
    /// Makes \p time the track's time zero.
    void begin(MediaTime time);

    /// Puts \p buffer to its place; what lies between is silent.
    void append(const AudioBuffer &buffer);

    MediaTime origin() const;

    /// The first channel.
    std::vector<float> samples() const;
    double seconds() const;

    /// By how many seconds the track is longer than the clock says, if it ended at some time from
    /// \p earliestEnd to \p latestEnd.
    double lengthError(MediaTime earliestEnd, MediaTime latestEnd) const;

    /// Whether every buffer began where the one before ended, to the nanosecond of rounding.
    bool isWithoutHoles() const;

private:
    mutable QMutex m_mutex;
    MediaTime m_origin{0};
    std::vector<float> m_samples;
    bool m_isWithoutHoles = true;
};

/// Keeps what a capture delivers.
class KeptCapture : public CaptureListener
{
public:
    void didCapture(const AudioBuffer &buffer) override;
    void didStop(const Error &reason) override;

    QStringList stopReasons() const;

    KeptSound sound;
    std::chrono::seconds stall{0}; ///< once, as by a disk that does not answer

private:
    mutable QMutex m_mutex;
    QStringList m_stopReasons;
    bool m_hasBegun = false;
};

/// Makes writers that keep their sound instead of writing it. One at a time.
class KeptSoundWriters : public AudioFileWriterFactory
{
public:
    std::expected<std::unique_ptr<AudioFileWriter>, Error> create(const QString &path) override;

    KeptSound sound;
    AudioEncoding encoding;
    bool isFinished = false;
    std::atomic<bool> isFull{false}; ///< nothing more can be written
};
