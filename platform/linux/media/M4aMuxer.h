#pragma once

#include "base/Error.h"
#include "platform/linux/media/AacEncoder.h"

#include <QString>

#include <expected>
#include <memory>
#include <span>

/// Writes AAC packets into a plain MPEG-4 audio file whose index stands in front of the sound, so
/// that it starts playing before it is there whole. ISO/IEC 14496-12 and -14.
///
/// Room for the index is kept in front while the sound is written; when a long recording outgrows
/// it, the file is laid out again with twice the room, so that finish() is quick at any length.
/// Memory: four bytes a packet. Used by one thread at a time.
class M4aMuxer
{
public:
    /// Creates the file at \p path; one that stands there is replaced.
    static std::expected<M4aMuxer, Error> create(const QString &path, AacFormat format);

    M4aMuxer(M4aMuxer &&) noexcept;
    M4aMuxer &operator=(M4aMuxer &&) noexcept;

    /// Closes the file; without finish() before, it does not play.
    ~M4aMuxer();

    /// Appends one packet. After a failure nothing more is accepted.
    std::expected<void, Error> addPacket(std::span<const std::byte> packet);

    /// Writes the index, syncs the file and unlocks it. \p frameCount is the exact length: the
    /// first aacFrameLength frames of delay and what the packets hold beyond it are not played.
    std::expected<void, Error> finish(qint64 frameCount);

private:
    struct State;
    explicit M4aMuxer(std::unique_ptr<State> state);
    std::unique_ptr<State> m_state;
};
