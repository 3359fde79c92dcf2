#pragma once

#include "base/Error.h"
#include "platform/linux/media/AacEncoder.h"
#include "platform/linux/media/OutputFile.h"

#include <QString>

#include <expected>
#include <span>
#include <string_view>
#include <vector>

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

    OutputFile m_file;
    AacFormat m_format;
    qint64 m_position = 0; ///< of the next box
    std::vector<std::byte> m_index;
    std::vector<std::byte> m_data;
    std::vector<std::span<const std::byte>> m_packets;
    qint64 m_duration = 0; ///< frames in all fragments, with the encoder's delay
};

/// How many frames are heard of the closed, or left behind, fragmented track at \p path. Its last
/// whole fragment tells, so that it takes no longer for a long file; what a kill has left of one
/// more does not count. Without a whole fragment, an error. Any thread.
std::expected<qint64, Error> fragmentedLength(const QString &path);
