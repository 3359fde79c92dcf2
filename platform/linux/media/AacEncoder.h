#pragma once

#include "base/Error.h"
#include "platform/AudioFileWriter.h"

#include <cstddef>
#include <expected>
#include <functional>
#include <memory>
#include <span>
#include <vector>

/// One access unit of an AAC stream: 1024 frames.
using AacPacket = std::vector<std::byte>;

/// The description of an AAC stream that a decoder and a container need.
struct AacFormat {
    int sampleRate = 48000; ///< frames per second
    int channelCount = 2;
    int bitRate = 128000;                 ///< bits per second, nominal
    std::vector<std::byte> configuration; ///< AudioSpecificConfig, ISO/IEC 14496-3
};

/// Frames in a packet, and the delay of the encoder in frames.
inline constexpr qint64 aacFrameLength = 1024;

/// Encodes interleaved float sound as AAC (low complexity), 1024 frames to a packet.
///
/// Packet p covers the frames from (p - 1) * 1024 to (p + 1) * 1024: the encoder delays by 1024
/// frames, so the first packet's presentation time is -1024. Used by one thread at a time.
class AacEncoder
{
public:
    using PacketHandler = std::function<void(AacPacket &&packet)>;

    /// Fails when the encoder cannot be made for \p encoding.
    static std::expected<AacEncoder, Error> create(const AudioEncoding &encoding);

    AacEncoder(AacEncoder &&) noexcept;
    AacEncoder &operator=(AacEncoder &&) noexcept;
    ~AacEncoder();

    /// The description of the stream that is encoded.
    AacFormat format() const;

    /// Encodes any number of whole frames; packets come out as they are ready.
    std::expected<void, Error> encode(std::span<const float> interleaved,
                                      const PacketHandler &handle);

    /// Encodes what is pending, the last packet padded with silence. Nothing can follow.
    std::expected<void, Error> finish(const PacketHandler &handle);

    /// Frames taken so far.
    qint64 frameCount() const;

private:
    struct State;
    explicit AacEncoder(std::unique_ptr<State> state);
    std::unique_ptr<State> m_state;
};
