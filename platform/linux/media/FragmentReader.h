#pragma once

#include "base/Error.h"
#include "platform/linux/media/AacPacket.h"
#include "platform/linux/media/OutputFile.h"

#include <QString>

#include <expected>
#include <span>
#include <string_view>
#include <vector>

/// Whether \p data, the packets of a fragment, have reached the disk to their end: a machine that
/// was switched off may leave zeros, while a packet ends with three set bits and at most seven
/// clear ones (ISO/IEC 14496-3, 4.4.2.1).
bool isFragmentDataWhole(std::span<const std::byte> data);

/// Reads what FragmentWriter wrote, fragment by fragment, also where the writer was killed: it ends
/// with the last complete fragment. Memory: one fragment. Used by one thread at a time.
class FragmentReader
{
public:
    /// Fails when the file cannot be read or does not begin as FragmentWriter's do.
    static std::expected<FragmentReader, Error> open(const QString &path);

    const AacFormat &format() const { return m_format; }

    /// Reads the next fragment; false when there is none. Fails when the file cannot be read, and
    /// when a damaged fragment is not the last one.
    std::expected<bool, Error> next();

    /// The packets of the fragment, until next() is called again.
    const std::vector<std::span<const std::byte>> &packets() const { return m_packets; }

    /// Frames to be heard in all fragments so far.
    qint64 frameCount() const;

private:
    explicit FragmentReader(OutputFile file)
        : m_file(std::move(file))
    {
    }

    std::expected<bool, Error> readFragment();
    std::expected<bool, Error> readEnd(qint64 start);
    std::expected<bool, Error> readBox(std::string_view type, std::vector<std::byte> &content);
    bool parseMovie();
    bool parseFragment();
    bool parseRun(std::span<const std::byte> run);
    bool splitData();

    OutputFile m_file;
    AacFormat m_format;
    qint64 m_position = 0; ///< of the next box
    std::vector<std::byte> m_index;
    std::vector<std::byte> m_data;
    std::vector<quint32> m_sizes;
    std::vector<std::span<const std::byte>> m_packets;
    qint64 m_duration = 0;         ///< frames in all fragments, with the encoder's delay
    qint64 m_fragmentDuration = 0; ///< frames in this one
};
