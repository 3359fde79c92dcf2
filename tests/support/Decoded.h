#pragma once

#include <QString>

#include <expected>
#include <span>
#include <vector>

/// A sound file, decoded by libav as a player would: sample 0 is what plays at time 0, and nothing
/// of the encoder's delay or of the last packet's padding is left.
struct Decoded {
    int sampleRate = 0;
    int channelCount = 0;
    std::vector<float> samples; ///< interleaved
    double startSeconds = 0;    ///< as the container says
    qint64 containerFrames = 0; ///< from time 0 to the end, as the container says
    int errorCount = 0;         ///< packets that were damaged or could not be decoded
    bool indexInFront = false;  ///< `moov` comes before `mdat`
    bool fragmented = false;

    qint64 frameCount() const;

    /// The samples of one channel, \p frames of them from \p firstFrame on or what there is.
    std::vector<float> channel(int number, qint64 firstFrame = 0, qint64 frames = -1) const;
};

/// Fails with libav's text when \p path cannot be opened as an MPEG-4 file with sound.
std::expected<Decoded, QString> decodeFile(const QString &path);

/// The amplitude of a sine of \p frequency (hertz) in \p samples, 0 to 1.
double toneLevel(std::span<const float> samples, double frequency, int sampleRate);

/// Root of the mean square.
double rmsLevel(std::span<const float> samples);

/// By how many samples \p delayed comes later than \p reference, from -\p range to \p range: where
/// they correlate best.
qint64 correlationLag(std::span<const float> reference, std::span<const float> delayed,
                      qint64 range);

/// A sine of \p amplitude in every channel, interleaved. \p firstFrame keeps the phase over blocks.
std::vector<float> sine(double frequency, double amplitude, qint64 frames, int channelCount,
                        int sampleRate = 48000, qint64 firstFrame = 0);

/// White noise that is the same every time, for correlationLag().
std::vector<float> noise(double amplitude, qint64 frames, quint32 seed);
