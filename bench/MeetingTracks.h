#pragma once

#include "platform/linux/media/AacEncoder.h"

#include <QDir>

#include <cstdio>
#include <cstdlib>
#include <expected>
#include <type_traits>
#include <utility>
#include <vector>

/// The value, or the end of the program.
template<class T>
T require(std::expected<T, Error> &&value)
{
    if (!value) {
        std::fprintf(stderr, "%s\n", qPrintable(value.error().description()));
        std::exit(1);
    }
    if constexpr (!std::is_void_v<T>)
        return std::move(*value);
}

/// One source of a meeting, encoded.
struct EncodedTrack {
    AacFormat format;
    std::vector<AacPacket> packets;
    qint64 frameCount = 0;

    /// Into the file at \p path.
    template<class Writer>
    void write(const QString &path) const
    {
        auto writer = require(Writer::create(path, format));
        for (const AacPacket &packet : packets)
            require(writer.addPacket(packet));
        require(writer.finish(frameCount));
    }
};

/// What a program plays in a meeting, and what the microphone hears.
struct MeetingTracks {
    /// Made in \p folder, of this length.
    MeetingTracks(const QDir &folder, int minutes);

    EncodedTrack system; ///< in stereo
    EncodedTrack mic;    ///< in mono
};
