#include "platform/linux/media/M4aMuxer.h"

#include "platform/linux/media/MovieBoxes.h"
#include "platform/linux/media/OutputFile.h"

#include <algorithm>
#include <optional>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{
constexpr qint64 firstRoom = 64 << 10;     ///< for the index; six minutes
constexpr qint64 boxHeader = 8;            ///< size and type
constexpr qint64 wideBoxHeader = 16;       ///< with a size of 64 bits
constexpr std::size_t pieceSize = 1 << 20; ///< written at a time; a minute
} // namespace

struct M4aMuxer::State {
    State(OutputFile output, AacFormat aacFormat)
        : file(std::move(output))
        , format(std::move(aacFormat))
    {
        BoxWriter fileType;
        writeFileType(fileType);
        roomOffset = static_cast<qint64>(fileType.size());
    }

    qint64 dataOffset() const { return roomOffset + room + wideBoxHeader; }
    qint64 indexBound() const { return movieSizeBound(format, sizes.size() + 1) + boxHeader; }

    std::expected<void, Error> add(std::span<const std::byte> packet);
    std::expected<void, Error> flush();
    std::expected<void, Error> resizeRoom(qint64 newRoom);
    std::expected<void, Error> finish(qint64 frameCount);
    BoxWriter index(qint64 frameCount) const;
    std::expected<void, Error> writeFront(const BoxWriter &index);

    OutputFile file;
    AacFormat format;
    std::vector<quint32> sizes;     ///< of the packets
    std::vector<std::byte> pending; ///< packets that are not in the file yet
    qint64 written = 0;             ///< bytes of packets in the file
    qint64 roomOffset = 0;          ///< where the index goes
    qint64 room = firstRoom;
    std::optional<Error> error;
};

std::expected<void, Error> M4aMuxer::State::add(std::span<const std::byte> packet)
{
    sizes.push_back(static_cast<quint32>(packet.size()));
    pending.insert(pending.end(), packet.begin(), packet.end());
    if (indexBound() > room) {
        if (const auto resized = resizeRoom(2 * room); !resized)
            return resized;
    }
    return pending.size() >= pieceSize ? flush() : std::expected<void, Error>();
}

std::expected<void, Error> M4aMuxer::State::flush()
{
    if (const auto done = file.write(dataOffset() + written, pending); !done)
        return done;
    written += static_cast<qint64>(pending.size());
    pending.clear();
    return {};
}

std::expected<void, Error> M4aMuxer::State::resizeRoom(qint64 newRoom)
{
    // Inside the room, at a multiple of what file systems hand out: see OutputFile::insert().
    constexpr qint64 insertAt = 4096;
    if (written > 0) {
        if (const auto inserted = file.insert(insertAt, newRoom - room); !inserted)
            return inserted;
    }
    room = newRoom;
    return {};
}

BoxWriter M4aMuxer::State::index(qint64 frameCount) const
{
    BoxWriter out;
    writeMovie(out, {.format = format,
                     .packetSizes = sizes,
                     .frameCount = frameCount,
                     .dataOffset = dataOffset()});
    return out;
}

std::expected<void, Error> M4aMuxer::State::finish(qint64 frameCount)
{
    const auto held = (static_cast<qint64>(sizes.size()) - 1) * aacFrameLength;
    if (frameCount < 0 || frameCount > std::max<qint64>(held, 0))
        return std::unexpected(Error(u"写入录音文件失败：声音长度与数据不符"_s));
    // A short file, which is still whole in memory, would be mostly room.
    if (written == 0)
        room = static_cast<qint64>(index(frameCount).size());
    if (const auto done = flush(); !done)
        return done;
    if (const auto done = writeFront(index(frameCount)); !done)
        return done;
    const auto synced = file.sync();
    file.unlock();
    return synced;
}

/// Everything before the packets, at once.
std::expected<void, Error> M4aMuxer::State::writeFront(const BoxWriter &index)
{
    BoxWriter front;
    writeFileType(front);
    front.bytes(index.data());
    if (const qint64 left = room - static_cast<qint64>(index.size()); left > 0)
        front.box("free", [&] { front.zeros(static_cast<std::size_t>(left - boxHeader)); });
    front.u32(1); // the size follows in 64 bits
    front.text("mdat");
    front.u64(static_cast<quint64>(wideBoxHeader + written));
    return file.write(0, front.data());
}

std::expected<M4aMuxer, Error> M4aMuxer::create(const QString &path, AacFormat format)
{
    auto file = OutputFile::create(path);
    if (!file)
        return std::unexpected(file.error());
    return M4aMuxer(std::make_unique<State>(*std::move(file), std::move(format)));
}

M4aMuxer::M4aMuxer(std::unique_ptr<State> state)
    : m_state(std::move(state))
{
}

M4aMuxer::M4aMuxer(M4aMuxer &&) noexcept = default;
M4aMuxer &M4aMuxer::operator=(M4aMuxer &&) noexcept = default;
M4aMuxer::~M4aMuxer() = default;

std::expected<void, Error> M4aMuxer::addPacket(std::span<const std::byte> packet)
{
    if (m_state->error)
        return std::unexpected(*m_state->error);
    const auto added = m_state->add(packet);
    if (!added)
        m_state->error = added.error();
    return added;
}

std::expected<void, Error> M4aMuxer::finish(qint64 frameCount)
{
    if (m_state->error)
        return std::unexpected(*m_state->error);
    return m_state->finish(frameCount);
}
