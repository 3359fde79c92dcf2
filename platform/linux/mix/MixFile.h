#pragma once

#include "base/Error.h"
#include "platform/AudioAssets.h"
#include "platform/AudioFileWriter.h"
#include "platform/linux/media/AacEncoder.h"
#include "platform/linux/media/M4aMuxer.h"

#include <QString>

#include <expected>
#include <memory>
#include <span>

/// What a mix is encoded as. For the quality that the encoder's slow coder has at 128 kbit/s its
/// fast one needs 136, and to leave out what hardly anybody hears.
inline constexpr AudioEncoding mixEncoding{
    .sampleRate = 48000,
    .channelCount = 2,
    .bitRate = mixBitRate,
    .highestFrequency = 15000,
};

/// Adds \p sound to \p sum, sample by sample; both are equally long.
void addSound(std::span<float> sum, std::span<const float> sound);

/// Cuts \p sum off at full scale, -1 to 1. What is no number becomes silence.
void limitToFullScale(std::span<float> sum);

/// A mix that is being encoded into a file under a temporary name beside its final one, which no
/// list takes for a recording. Removed with this object, unless it was published. Used by one
/// thread at a time.
class MixFile
{
public:
    static std::expected<std::unique_ptr<MixFile>, Error> create(const QString &outputPath);

    MixFile(const MixFile &) = delete;
    MixFile &operator=(const MixFile &) = delete;
    ~MixFile();

    /// Appends whole frames of interleaved \p stereo. Nothing can follow a failure.
    std::expected<void, Error> append(std::span<const float> stereo);

    /// Completes the file on the disk and reads its index back.
    std::expected<void, Error> finish();

    /// Gives the finished file its name; one that stands there is replaced.
    std::expected<void, Error> publish();

private:
    MixFile(const QString &outputPath, AacEncoder encoder, M4aMuxer muxer);
    AacEncoder::PacketHandler packetHandler();
    std::expected<void, Error> outcome(std::expected<void, Error> encoded) const;

    const QString m_outputPath;
    const QString m_temporaryPath;
    AacEncoder m_encoder;
    M4aMuxer m_muxer;
    std::expected<void, Error> m_written; ///< how the packets so far have reached the file
    bool m_isPublished = false;
};
