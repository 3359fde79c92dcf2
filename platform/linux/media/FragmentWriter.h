#pragma once

#include "base/Error.h"
#include "platform/linux/media/AacEncoder.h"
#include "platform/linux/media/OutputFile.h"

#include <QString>

#include <expected>
#include <optional>
#include <span>
#include <vector>

/// Writes AAC packets into a fragmented MPEG-4 audio file, which plays at any moment up to its last
/// fragment. ISO/IEC 14496-12, 8.8.
///
/// A fragment lasts a little under a second, so that with what the encoder holds back a second is
/// the most that a kill takes away; it is written at once. What a power cut takes away is bounded
/// by a sync every five fragments. A file that somebody removes or moves, even with its folder, is
/// made again at its path with all that was in it. Memory does not grow. Used by one thread at a
/// time.
class FragmentWriter
{
public:
    /// Creates the file, without sound so far; one that stands there is replaced.
    static std::expected<FragmentWriter, Error> create(const QString &path, AacFormat format);

    /// Appends one packet. After a failure nothing more is accepted, and the file ends with its
    /// last complete fragment.
    std::expected<void, Error> addPacket(std::span<const std::byte> packet);

    /// Writes what is left and syncs the file. \p frameCount is the exact length without the
    /// encoder's delay; it ends within the last packet.
    std::expected<void, Error> finish(qint64 frameCount);

    /// Syncs what there is of a file that ended early. Nothing tells when that fails as well.
    void syncRest() { (void)m_file.sync(); }

private:
    FragmentWriter(QString path, OutputFile file, AacFormat format);
    std::expected<void, Error> writeHeader();
    std::expected<void, Error> append(std::span<const std::byte> bytes);
    std::expected<void, Error> writePending(qint64 lastDuration);
    std::expected<void, Error> restoreWhenRemoved();
    qint64 fragmentEndBefore(qint64 limit) const;
    std::expected<void, Error> syncWhenDue();
    std::expected<void, Error> keep(std::expected<void, Error> result);

    QString m_path;
    OutputFile m_file;
    AacFormat m_format;
    std::vector<quint32> m_sizes; ///< of the packets in m_pending
    std::vector<std::byte> m_pending;
    qint64 m_packetCount = 0; ///< in the file
    qint64 m_end = 0;         ///< of the last complete fragment
    quint32 m_fragmentCount = 0;
    std::optional<Error> m_error;
};
