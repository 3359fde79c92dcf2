#include "platform/linux/media/MovieBoxes.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace
{
constexpr std::size_t packetsPerChunk = 32; ///< what a player reads at a time: 0.7 s

quint64 totalBytes(std::span<const quint32> sizes)
{
    return std::accumulate(sizes.begin(), sizes.end(), quint64{0});
}

void writeMatrix(BoxWriter &out)
{
    for (const quint32 value : {0x10000U, 0U, 0U, 0U, 0x10000U, 0U, 0U, 0U, 0x40000000U})
        out.u32(value);
}

/// Times are 64 bits: at 48000 to the second, 32 bits end after 24 hours.
void writeMovieHeader(BoxWriter &out, const AacFormat &format, qint64 frameCount)
{
    out.fullBox("mvhd", 1, 0, [&] {
        out.zeros(16); // times of creation and change
        out.u32(static_cast<quint64>(format.sampleRate));
        out.u64(static_cast<quint64>(frameCount));
        out.u32(0x10000); // rate 1
        out.u16(0x100);   // volume 1
        out.zeros(10);
        writeMatrix(out);
        out.zeros(24);
        out.u32(soundTrackID + 1);
    });
}

void writeTrackHeader(BoxWriter &out, qint64 frameCount)
{
    constexpr quint32 enabledAndInMovie = 3;
    out.fullBox("tkhd", 1, enabledAndInMovie, [&] {
        out.zeros(16);
        out.u32(soundTrackID);
        out.zeros(4);
        out.u64(static_cast<quint64>(frameCount));
        out.zeros(12); // layer, alternate group
        out.u16(0x100);
        out.zeros(2);
        writeMatrix(out);
        out.zeros(8);
    });
}

/// What is played: \p frameCount frames (0 in a fragmented file: all) after the encoder's delay.
/// Exact, because the movie counts in frames.
void writeEditList(BoxWriter &out, qint64 frameCount)
{
    out.box("edts", [&] {
        out.fullBox("elst", 1, 0, [&] {
            out.u32(1);
            out.u64(static_cast<quint64>(frameCount));
            out.u64(aacFrameLength);
            out.u32(0x10000); // at normal speed
        });
    });
}

void writeMediaHeader(BoxWriter &out, const AacFormat &format, qint64 duration)
{
    constexpr quint16 undeterminedLanguage = 0x55C4; // "und", five bits a letter
    out.fullBox("mdhd", 1, 0, [&] {
        out.zeros(16);
        out.u32(static_cast<quint64>(format.sampleRate));
        out.u64(static_cast<quint64>(duration));
        out.u16(undeterminedLanguage);
        out.zeros(2);
    });
}

void writeHandler(BoxWriter &out)
{
    out.fullBox("hdlr", 0, 0, [&] {
        out.zeros(4);
        out.text("soun");
        out.zeros(12);
        out.text(std::string_view("SoundHandler\0", 13));
    });
}

void writeDataReference(BoxWriter &out)
{
    constexpr quint32 inThisFile = 1;
    out.box("dinf", [&] {
        out.fullBox("dref", 0, 0, [&] {
            out.u32(1);
            out.fullBox("url ", 0, inThisFile, [] {});
        });
    });
}

/// A descriptor of ISO/IEC 14496-1, 8.3.3, shorter than 128 bytes.
template<class Body>
void writeDescriptor(BoxWriter &out, quint8 tag, std::size_t size, Body body)
{
    out.u8(tag);
    out.u8(size);
    body();
}

/// ISO/IEC 14496-14, 5.6: the decoder's configuration.
void writeElementaryStream(BoxWriter &out, const AacFormat &format, int averageBitRate)
{
    constexpr quint8 esTag = 3, decoderTag = 4, configurationTag = 5, syncLayerTag = 6;
    constexpr quint8 mpeg4Audio = 0x40, audioStream = 0x15;
    const std::size_t configurationSize = format.configuration.size();
    const std::size_t decoderSize = 13 + 2 + configurationSize;
    out.fullBox("esds", 0, 0, [&] {
        writeDescriptor(out, esTag, 3 + 2 + decoderSize + 2 + 1, [&] {
            out.u16(0); // in a file the track says which stream it is
            out.u8(0);
            writeDescriptor(out, decoderTag, decoderSize, [&] {
                out.u8(mpeg4Audio);
                out.u8(audioStream);
                out.u24(static_cast<quint64>(768 * format.channelCount)); // largest packet there is
                out.u32(static_cast<quint64>(std::max(format.bitRate, averageBitRate)));
                out.u32(static_cast<quint64>(averageBitRate));
                writeDescriptor(out, configurationTag, configurationSize,
                                [&] { out.bytes(format.configuration); });
            });
            constexpr quint8 reservedForFiles = 2;
            writeDescriptor(out, syncLayerTag, 1, [&] { out.u8(reservedForFiles); });
        });
    });
}

void writeSampleDescription(BoxWriter &out, const AacFormat &format, int averageBitRate)
{
    out.fullBox("stsd", 0, 0, [&] {
        out.u32(1);
        out.box("mp4a", [&] {
            out.zeros(6);
            out.u16(1); // data reference
            out.zeros(8);
            out.u16(static_cast<quint64>(format.channelCount));
            out.u16(16);
            out.zeros(4);
            out.u32(format.sampleRate <= 0xFFFF ? static_cast<quint64>(format.sampleRate) << 16
                                                : 0);
            writeElementaryStream(out, format, averageBitRate);
        });
    });
}

void writeDurations(BoxWriter &out, std::size_t packetCount, qint64 lastDuration)
{
    const std::size_t whole = lastDuration == aacFrameLength ? packetCount : packetCount - 1;
    out.fullBox("stts", 0, 0, [&] {
        out.u32((whole > 0 ? 1U : 0U) + (whole < packetCount ? 1U : 0U));
        if (whole > 0) {
            out.u32(whole);
            out.u32(aacFrameLength);
        }
        if (whole < packetCount) {
            out.u32(1);
            out.u32(static_cast<quint64>(lastDuration));
        }
    });
}

void writeChunks(BoxWriter &out, std::size_t packetCount)
{
    const std::size_t whole = packetCount / packetsPerChunk;
    const std::size_t rest = packetCount % packetsPerChunk;
    const auto run = [&](std::size_t firstChunk, std::size_t packets) {
        out.u32(firstChunk);
        out.u32(packets);
        out.u32(1); // sample description
    };
    out.fullBox("stsc", 0, 0, [&] {
        out.u32((whole > 0 ? 1U : 0U) + (rest > 0 ? 1U : 0U));
        if (whole > 0)
            run(1, packetsPerChunk);
        if (rest > 0)
            run(whole + 1, rest);
    });
}

void writeSizes(BoxWriter &out, std::span<const quint32> sizes)
{
    out.fullBox("stsz", 0, 0, [&] {
        out.u32(0); // not all the same
        out.u32(sizes.size());
        for (const quint32 size : sizes)
            out.u32(size);
    });
}

/// Where the chunks begin: in 32 bits while the file is small enough, which more readers know.
void writeChunkOffsets(BoxWriter &out, const SoundIndex &index)
{
    const std::span sizes = index.packetSizes;
    auto offset = static_cast<quint64>(index.dataOffset);
    const bool wide = offset + totalBytes(sizes) > std::numeric_limits<quint32>::max();
    out.fullBox(wide ? "co64" : "stco", 0, 0, [&] {
        out.u32((sizes.size() + packetsPerChunk - 1) / packetsPerChunk);
        for (std::size_t i = 0; i < sizes.size(); i += packetsPerChunk) {
            wide ? out.u64(offset) : out.u32(offset);
            offset += totalBytes(sizes.subspan(i, std::min(packetsPerChunk, sizes.size() - i)));
        }
    });
}

/// Says that a decoder has to start one packet early when it seeks (ISO/IEC 14496-12, 10.1).
void writeRollGroup(BoxWriter &out, std::size_t packetCount)
{
    constexpr quint16 onePacketBefore = 0xFFFF; // -1
    out.fullBox("sgpd", 1, 0, [&] {
        out.text("roll");
        out.u32(2);
        out.u32(1);
        out.u16(onePacketBefore);
    });
    out.fullBox("sbgp", 0, 0, [&] {
        out.text("roll");
        out.u32(1);
        out.u32(packetCount);
        out.u32(1);
    });
}

int averageBitRate(const SoundIndex &index)
{
    if (index.packetSizes.empty())
        return index.format.bitRate;
    const double seconds = static_cast<double>(index.packetSizes.size()) * aacFrameLength /
                           static_cast<double>(index.format.sampleRate);
    return static_cast<int>(static_cast<double>(totalBytes(index.packetSizes)) * 8 / seconds);
}

/// The track with \p duration frames of sound, of which \p played are played; \p table writes the
/// boxes that lead to the packets.
template<class Table>
void writeTrack(BoxWriter &out, const AacFormat &format, qint64 duration, qint64 played,
                Table table)
{
    out.box("trak", [&] {
        writeTrackHeader(out, played);
        writeEditList(out, played);
        out.box("mdia", [&] {
            writeMediaHeader(out, format, duration);
            writeHandler(out);
            out.box("minf", [&] {
                out.fullBox("smhd", 0, 0, [&] { out.zeros(4); });
                writeDataReference(out);
                out.box("stbl", table);
            });
        });
    });
}
} // namespace

void writeFileType(BoxWriter &out)
{
    out.box("ftyp", [&] {
        out.text("M4A ");
        out.u32(0x200);
        out.text("M4A isomiso5iso6mp42");
    });
}

void writeMovie(BoxWriter &out, const SoundIndex &index)
{
    const std::size_t count = index.packetSizes.size();
    const qint64 before = (static_cast<qint64>(count) - 1) * aacFrameLength;
    const qint64 remaining = index.frameCount + aacFrameLength - before;
    // A length that ends earlier than in the last packet is left to the edit list.
    const qint64 last =
        count > 0 && remaining > 0 && remaining < aacFrameLength ? remaining : aacFrameLength;
    out.box("moov", [&] {
        writeMovieHeader(out, index.format, index.frameCount);
        writeTrack(out, index.format, count > 0 ? before + last : 0, index.frameCount, [&] {
            writeSampleDescription(out, index.format, averageBitRate(index));
            writeDurations(out, count, last);
            writeChunks(out, count);
            writeSizes(out, index.packetSizes);
            writeChunkOffsets(out, index);
            writeRollGroup(out, count);
        });
    });
}

qint64 movieSizeBound(const AacFormat &format, std::size_t packetCount)
{
    constexpr std::size_t fixedParts = 1024;
    const std::size_t chunks = packetCount / packetsPerChunk + 1;
    return static_cast<qint64>(fixedParts + format.configuration.size() + 4 * packetCount +
                               8 * chunks);
}

void writeFragmentedMovie(BoxWriter &out, const AacFormat &format)
{
    out.box("moov", [&] {
        writeMovieHeader(out, format, 0);
        writeTrack(out, format, 0, 0, [&] {
            writeSampleDescription(out, format, format.bitRate);
            writeDurations(out, 0, aacFrameLength);
            writeChunks(out, 0);
            writeSizes(out, {});
            writeChunkOffsets(out, SoundIndex{.format = format, .packetSizes = {}});
        });
        out.box("mvex", [&] {
            out.fullBox("trex", 0, 0, [&] {
                out.u32(soundTrackID);
                out.u32(1); // sample description
                out.u32(aacFrameLength);
                out.zeros(8);
            });
        });
    });
}
