#include "platform/linux/mix/TrackLength.h"

#include "platform/linux/media/AacPacket.h"
#include "platform/linux/media/BoxReader.h"
#include "platform/linux/media/FragmentReader.h"

#include <QFile>

#include <algorithm>
#include <optional>
#include <span>

using namespace Qt::StringLiterals;

namespace
{
constexpr qint64 longestFragment = 256 << 10; ///< bytes; ours last 0.9 s
constexpr qsizetype boxHeader = 8;            ///< size and type
constexpr std::size_t fullBoxHeader = 4;      ///< version and flags
constexpr quint32 sampleDurationPresent = 0x000100;

using Bytes = std::span<const std::byte>;

/// Frames in a fragment run (ISO/IEC 14496-12, 8.8.8).
qint64 runDuration(Bytes run)
{
    BoxReader reader(run);
    const bool hasDurations = (reader.u32() & sampleDurationPresent) != 0;
    const quint32 count = reader.u32();
    reader.skip(4); // where the data is
    if (!hasDurations)
        return count * aacFrameLength;
    qint64 duration = 0;
    for (quint32 i = 0; i < count && reader.isGood(); ++i) {
        duration += reader.u32();
        reader.skip(4); // size
    }
    return duration;
}

/// Where the fragment that \p bytes begin with ends, with the encoder's delay; none: they do not
/// begin with a whole one, as FragmentReader has it.
std::optional<qint64> fragmentEnd(Bytes bytes)
{
    const auto index = findBox(bytes, "moof");
    const auto track = index ? findBox(*index, "traf") : std::nullopt;
    const auto start = track ? findBox(*track, "tfdt") : std::nullopt;
    const auto run = track ? findBox(*track, "trun") : std::nullopt;
    const auto data = findBox(bytes, "mdat");
    if (!start || !run || !data || !isFragmentDataWhole(*data))
        return std::nullopt;
    BoxReader time(*start);
    time.skip(fullBoxHeader);
    return static_cast<qint64>(time.u64()) + runDuration(*run);
}

/// Duration in the movie header (ISO/IEC 14496-12, 8.2.2) in front of the index that \p bytes
/// begin.
std::optional<qint64> movieDuration(Bytes bytes)
{
    const auto header = findBox(bytes, "mvhd");
    if (!header)
        return std::nullopt;
    BoxReader reader(*header);
    const bool wide = reader.number(1) == 1;
    reader.skip(3 + (wide ? 16 : 8) + 4); // flags, times of creation and change, unit
    const quint64 duration = reader.number(wide ? 8 : 4);
    return reader.isGood() ? std::optional(static_cast<qint64>(duration)) : std::nullopt;
}

std::unexpected<Error> incomplete(const QString &path)
{
    return std::unexpected(Error(u"%1 不完整"_s.arg(path)));
}
} // namespace

std::expected<qint64, Error> fragmentedLength(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::unexpected(Error(u"无法读取 %1：%2"_s.arg(path, file.errorString())));
    file.seek(std::max<qint64>(0, file.size() - longestFragment));
    const QByteArray tail = file.readAll();
    const Bytes bytes = std::as_bytes(std::span(tail.constData(), tail.size()));
    for (qsizetype type = tail.lastIndexOf("moof"); type >= boxHeader / 2;
         type = tail.lastIndexOf("moof", type - 1)) {
        const Bytes fragment = bytes.subspan(static_cast<std::size_t>(type - boxHeader / 2));
        if (const auto end = fragmentEnd(fragment))
            return std::max<qint64>(0, *end - aacFrameLength);
    }
    return incomplete(path);
}

std::expected<qint64, Error> indexedLength(const QString &path)
{
    constexpr qint64 enough = 256; // for the header of a box, and of the movie within
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::unexpected(Error(u"无法读取 %1：%2"_s.arg(path, file.errorString())));
    std::optional<qint64> duration;
    qint64 position = 0;
    while (position < file.size() && file.seek(position)) {
        const QByteArray start = file.read(enough);
        BoxReader reader(std::as_bytes(std::span(start.constData(), start.size())));
        auto size = static_cast<qint64>(reader.u32());
        reader.skip(4);
        if (size == 1) // it stands behind the type
            size = static_cast<qint64>(reader.u64());
        if (!reader.isGood() || size < boxHeader)
            return incomplete(path);
        if (start.mid(4, 4) == "moov")
            duration = movieDuration(reader.rest());
        position += size;
    }
    if (!duration || position != file.size())
        return incomplete(path);
    return *duration;
}
