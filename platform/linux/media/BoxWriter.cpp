#include "platform/linux/media/BoxWriter.h"

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
