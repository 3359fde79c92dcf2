#include "platform/linux/media/Boxes.h"

#include <algorithm>

void BoxWriter::bytes(std::span<const std::byte> value)
{
    m_bytes.insert(m_bytes.end(), value.begin(), value.end());
}

void BoxWriter::patchU32(std::size_t position, quint32 value)
{
    for (std::size_t i = 0; i < 4; ++i)
        m_bytes[position + i] = static_cast<std::byte>(value >> (8 * (3 - i)));
}

void BoxWriter::number(quint64 value, int byteCount)
{
    for (int shift = 8 * (byteCount - 1); shift >= 0; shift -= 8)
        m_bytes.push_back(static_cast<std::byte>(value >> shift));
}

quint64 BoxReader::number(std::size_t byteCount)
{
    quint64 value = 0;
    for (const std::byte byte : bytes(byteCount))
        value = value << 8 | static_cast<quint8>(byte);
    return value;
}

std::span<const std::byte> BoxReader::bytes(std::size_t byteCount)
{
    if (byteCount > m_rest.size()) {
        m_good = false;
        m_rest = {};
        return {};
    }
    const auto taken = m_rest.first(byteCount);
    m_rest = m_rest.subspan(byteCount);
    return taken;
}

std::optional<std::span<const std::byte>> findBox(std::span<const std::byte> bytes,
                                                  std::string_view type)
{
    constexpr std::size_t headerSize = 8;
    BoxReader reader(bytes);
    while (!reader.rest().empty()) {
        const std::size_t size = reader.u32();
        const auto name = reader.bytes(4);
        const auto content = reader.bytes(std::max(size, headerSize) - headerSize);
        if (!reader.isGood() || size < headerSize)
            break;
        if (std::ranges::equal(name, std::as_bytes(std::span(type))))
            return content;
    }
    return std::nullopt;
}
