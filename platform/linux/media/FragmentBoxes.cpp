#include "platform/linux/media/FragmentBoxes.h"

#include "platform/linux/media/MovieBoxes.h"

#include <numeric>

namespace
{
// The flags that tell which fields a box has (ISO/IEC 14496-12, 8.8.7 and 8.8.8).
constexpr quint32 defaultBaseIsMoof = 0x020000;
constexpr quint32 defaultDurationPresent = 0x000008;
constexpr quint32 dataOffsetPresent = 0x000001;
constexpr quint32 sampleDurationPresent = 0x000100;
constexpr quint32 sampleSizePresent = 0x000200;
} // namespace

void writeFragment(BoxWriter &out, const SoundFragment &fragment)
{
    const bool shortened = fragment.lastDuration != aacFrameLength;
    std::size_t dataOffsetAt = 0;
    const std::size_t start = out.size();
    out.box("moof", [&] {
        out.fullBox("mfhd", 0, 0, [&] { out.u32(fragment.sequenceNumber); });
        out.box("traf", [&] {
            out.fullBox("tfhd", 0, defaultBaseIsMoof | defaultDurationPresent, [&] {
                out.u32(soundTrackID);
                out.u32(aacFrameLength);
            });
            out.fullBox("tfdt", 1, 0, [&] { out.u64(static_cast<quint64>(fragment.startFrame)); });
            const quint32 fields =
                dataOffsetPresent | sampleSizePresent | (shortened ? sampleDurationPresent : 0U);
            out.fullBox("trun", 0, fields, [&] {
                out.u32(fragment.packetSizes.size());
                dataOffsetAt = out.size();
                out.u32(0);
                for (std::size_t i = 0; i < fragment.packetSizes.size(); ++i) {
                    const bool last = i + 1 == fragment.packetSizes.size();
                    if (shortened)
                        out.u32(
                            static_cast<quint64>(last ? fragment.lastDuration : aacFrameLength));
                    out.u32(fragment.packetSizes[i]);
                }
            });
        });
    });
    constexpr std::size_t boxHeader = 8;
    out.patchU32(dataOffsetAt, static_cast<quint32>(out.size() - start + boxHeader));
    out.box("mdat", [&] { out.bytes(fragment.data); });
}

std::optional<FragmentIndex> readFragmentIndex(std::span<const std::byte> moof)
{
    const auto track = findBox(moof, "traf");
    const auto start = track ? findBox(*track, "tfdt") : std::nullopt;
    const auto run = track ? findBox(*track, "trun") : std::nullopt;
    if (!start || !run)
        return std::nullopt;
    FragmentIndex index;
    BoxReader time(*start);
    time.skip(4); // version and flags
    index.startFrame = static_cast<qint64>(time.u64());
    BoxReader reader(*run);
    const bool hasDurations = (reader.u32() & sampleDurationPresent) != 0;
    const quint32 count = reader.u32();
    reader.skip(4); // where the data is: it follows
    for (quint32 i = 0; i < count && reader.isGood(); ++i) {
        index.frameCount += hasDurations ? static_cast<qint64>(reader.u32()) : aacFrameLength;
        index.packetSizes.push_back(reader.u32());
    }
    if (!time.isGood() || !reader.isGood() || !reader.rest().empty() || count == 0)
        return std::nullopt;
    return index;
}

bool isFragmentDataWhole(const FragmentIndex &index, std::span<const std::byte> data)
{
    const quint64 size =
        std::accumulate(index.packetSizes.begin(), index.packetSizes.end(), quint64{0});
    return size == data.size() && !data.empty() && data.back() != std::byte{0};
}
