#pragma once

#include <QtGlobal>
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

/// Builds MPEG-4 boxes in memory: big-endian numbers, and boxes whose sizes are filled in when
/// their content is there. ISO/IEC 14496-12, 4.2.
class BoxWriter
{
public:
    /// A box of \p type (four characters) with what \p body writes.
    template<class Body>
    void box(std::string_view type, Body body)
    {
        const std::size_t start = m_bytes.size();
        u32(0);
        text(type);
        body();
        patchU32(start, static_cast<quint32>(m_bytes.size() - start));
    }

    /// The same with the version and flags of a full box in front.
    template<class Body>
    void fullBox(std::string_view type, quint8 version, quint32 flags, Body body)
    {
        box(type, [&] {
            u8(version);
            u24(flags);
            body();
        });
    }

    void u8(quint64 value) { number(value, 1); }
    void u16(quint64 value) { number(value, 2); }
    void u24(quint64 value) { number(value, 3); }
    void u32(quint64 value) { number(value, 4); }
    void u64(quint64 value) { number(value, 8); }
    void zeros(std::size_t count) { m_bytes.resize(m_bytes.size() + count); }
    void text(std::string_view characters) { bytes(std::as_bytes(std::span(characters))); }
    void bytes(std::span<const std::byte> value);

    /// Overwrites four bytes at \p position.
    void patchU32(std::size_t position, quint32 value);

    std::span<const std::byte> data() const { return m_bytes; }
    std::size_t size() const { return m_bytes.size(); }

private:
    void number(quint64 value, int byteCount);

    std::vector<std::byte> m_bytes;
};

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
