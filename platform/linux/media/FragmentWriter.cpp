#include "platform/linux/media/FragmentWriter.h"

#include "base/PrivateFolder.h"
#include "platform/linux/media/Boxes.h"
#include "platform/linux/media/FragmentBoxes.h"
#include "platform/linux/media/MovieBoxes.h"
#include "platform/linux/media/PartFiles.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>

namespace
{
constexpr quint32 fragmentsPerSync = 5; ///< four and a half seconds of sound
constexpr std::size_t boxHeader = 8;    ///< size and type

std::size_t packetsPerFragment(const AacFormat &format)
{
    constexpr double fragmentSeconds = 0.9;
    return std::max<std::size_t>(
        1, static_cast<std::size_t>(fragmentSeconds * format.sampleRate / aacFrameLength));
}
} // namespace

FragmentWriter::FragmentWriter(QString path, OutputFile file, AacFormat format)
    : m_path(std::move(path))
    , m_file(std::move(file))
    , m_format(std::move(format))
{
}

std::expected<FragmentWriter, Error> FragmentWriter::create(const QString &path, AacFormat format)
{
    auto file = OutputFile::create(path);
    if (!file)
        return std::unexpected(file.error());
    FragmentWriter writer(path, *std::move(file), std::move(format));
    if (const auto written = writer.writeHeader(); !written)
        return std::unexpected(written.error());
    return writer;
}

std::expected<void, Error> FragmentWriter::writeHeader()
{
    BoxWriter header;
    writeFileType(header);
    writeFragmentedMovie(header, m_format);
    return append(header.data());
}

std::expected<void, Error> FragmentWriter::addPacket(std::span<const std::byte> packet)
{
    if (m_error)
        return std::unexpected(*m_error);
    // Write before the packet is added, so that one is always left for finish(), which knows how
    // long it is.
    if (m_sizes.size() >= packetsPerFragment(m_format)) {
        if (const auto written = writePending(aacFrameLength); !written)
            return written;
    }
    m_sizes.push_back(static_cast<quint32>(packet.size()));
    m_pending.insert(m_pending.end(), packet.begin(), packet.end());
    return {};
}

std::expected<void, Error> FragmentWriter::finish(qint64 frameCount)
{
    if (m_error)
        return std::unexpected(*m_error);
    if (!m_sizes.empty()) {
        const qint64 packets = m_packetCount + static_cast<qint64>(m_sizes.size());
        const qint64 last = frameCount + aacFrameLength - (packets - 1) * aacFrameLength;
        Q_ASSERT(last > 0 && last <= aacFrameLength);
        if (const auto written = writePending(last); !written)
            return written;
    }
    return keep(m_file.sync());
}

std::expected<void, Error> FragmentWriter::writePending(qint64 lastDuration)
{
    BoxWriter fragment;
    writeFragment(fragment, {.sequenceNumber = ++m_fragmentCount,
                             .startFrame = m_packetCount * aacFrameLength,
                             .packetSizes = m_sizes,
                             .data = m_pending,
                             .lastDuration = lastDuration});
    m_packetCount += static_cast<qint64>(m_sizes.size());
    m_sizes.clear();
    m_pending.clear();
    if (const auto written = append(fragment.data()); !written)
        return written;
    if (const auto restored = restoreWhenRemoved(); !restored)
        return restored;
    return syncWhenDue();
}

std::expected<void, Error> FragmentWriter::append(std::span<const std::byte> bytes)
{
    const auto written = keep(m_file.write(m_end, bytes));
    if (written) {
        m_end += static_cast<qint64>(bytes.size());
    } else {
        // A torn fragment does no harm, but it is in the way of whoever reads on. If this fails
        // as well, so be it.
        (void)m_file.truncate(m_end);
    }
    return written;
}

std::expected<void, Error> FragmentWriter::restoreWhenRemoved()
{
    if (m_file.isAt(m_path))
        return {};
    (void)makePrivateFolder(QFileInfo(m_path).path()); // otherwise the next step fails
    const QString part = partPath(m_path);
    auto file = OutputFile::create(part);
    if (!file)
        return keep(std::unexpected(file.error()));
    auto copied = file->copyFrom(m_file, m_end);
    if (copied)
        copied = file->sync();
    if (!copied) {
        // On a volume that is back, the earlier part stands at the path: only a whole copy replaces
        // it. Where there is nothing, as much of the sound stays as there is room for.
        if (QFileInfo::exists(m_path)) {
            QFile::remove(part);
            return keep(copied);
        }
        (void)file->truncate(fragmentEndBefore(file->size().value_or(0)));
    }
    m_file = *std::move(file);
    const auto published = publishPart(m_path);
    return keep(copied ? published : copied);
}

qint64 FragmentWriter::fragmentEndBefore(qint64 limit) const
{
    std::array<std::byte, boxHeader> header{};
    qint64 fragmentEnd = 0;
    for (qint64 position = 0; m_file.read(position, header) == boxHeader;) {
        BoxReader box(header);
        const quint32 size = box.u32();
        position += size;
        if (size < boxHeader || position > limit)
            break;
        const bool isIndex = std::ranges::equal(box.rest(), std::as_bytes(std::span("moof", 4)));
        if (!isIndex) // its data come next
            fragmentEnd = position;
    }
    return fragmentEnd;
}

std::expected<void, Error> FragmentWriter::syncWhenDue()
{
    if (m_fragmentCount % fragmentsPerSync != 0)
        return {};
    return keep(m_file.syncData());
}

/// Remembers the first failure, after which nothing is accepted.
std::expected<void, Error> FragmentWriter::keep(std::expected<void, Error> result)
{
    if (!result)
        m_error = result.error();
    return result;
}
