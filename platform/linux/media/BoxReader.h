#pragma once

#include <QtGlobal>

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

/// Reads big-endian numbers from bytes that may be anything: past the end everything is zero, and
/// isGood() is false from then on.
class BoxReader
{
public:
    explicit BoxReader(std::span<const std::byte> bytes)
        : m_rest(bytes)
    {
    }

    quint64 number(std::size_t byteCount);
    quint32 u32() { return static_cast<quint32>(number(4)); }
    quint64 u64() { return number(8); }
    void skip(std::size_t byteCount) { bytes(byteCount); }
    std::span<const std::byte> bytes(std::size_t byteCount);

    bool isGood() const { return m_good; }
    std::span<const std::byte> rest() const { return m_rest; }

private:
    std::span<const std::byte> m_rest;
    bool m_good = true;
};

/// The content of the first box of \p type among the boxes in \p bytes.
std::optional<std::span<const std::byte>> findBox(std::span<const std::byte> bytes,
                                                  std::string_view type);
