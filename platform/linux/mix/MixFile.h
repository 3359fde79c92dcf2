#pragma once

#include "base/Error.h"
#include "platform/linux/media/M4aMuxer.h"

#include <QString>

#include <expected>
#include <memory>
#include <optional>

/// A mix that is being written, under a temporary name beside its final one, which no list takes
/// for a recording. Removed with this object, unless it was published. Used by one thread at a
/// time.
class MixFile
{
public:
    static std::expected<std::unique_ptr<MixFile>, Error> create(const QString &outputPath);

    MixFile(const MixFile &) = delete;
    MixFile &operator=(const MixFile &) = delete;
    ~MixFile();

    /// Appends a packet; after a failure, nothing.
    void add(const AacPacket &packet);

    /// Why nothing more can be written.
    const std::optional<Error> &failure() const { return m_failure; }

    /// Completes the file on the disk and reads its index back.
    std::expected<void, Error> finish(qint64 frameCount);

    /// Gives the finished file its name; one that stands there is replaced.
    std::expected<void, Error> publish();

private:
    MixFile(const QString &outputPath, M4aMuxer muxer);
    std::expected<void, Error> check(qint64 frameCount) const;

    const QString m_outputPath;
    const QString m_temporaryPath;
    M4aMuxer m_muxer;
    qint64 m_packetCount = 0;
    std::optional<Error> m_failure;
    bool m_published = false;
};
