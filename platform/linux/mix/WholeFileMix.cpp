#include "platform/linux/mix/WholeFileMix.h"

#include "platform/linux/mix/MixFile.h"
#include "platform/linux/mix/TrackReader.h"

#include <algorithm>
#include <cmath>
#include <future>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{
constexpr qint64 pieceFrames = 4 * 48000; // four seconds, 1.5 MB

/// The tracks of a composition as one sound.
class Summed
{
public:
    static std::expected<Summed, Error> open(const MixComposition &composition);

    /// The next piece, shorter at the end and empty behind it.
    std::expected<std::vector<float>, Error> next();

private:
    std::vector<TrackReader> m_tracks;
    std::vector<float> m_sound;
    qint64 m_left = 0; ///< frames
};

std::expected<Summed, Error> Summed::open(const MixComposition &composition)
{
    Summed summed;
    for (const MixComposition::Part &part : composition.parts()) {
        auto track = TrackReader::open(part.path);
        if (!track)
            return std::unexpected(track.error());
        const qint64 frames = std::llround(part.durationSeconds * mixEncoding.sampleRate);
        // The file has changed since it was asked for its length.
        if (std::abs(track->frameCount() - frames) > 1)
            return std::unexpected(Error(u"%1 的长度已改变"_s.arg(part.path)));
        summed.m_left = std::max(summed.m_left, track->frameCount());
        summed.m_tracks.push_back(std::move(*track));
    }
    return summed;
}

std::expected<std::vector<float>, Error> Summed::next()
{
    const qint64 frames = std::min(m_left, pieceFrames);
    m_left -= frames;
    std::vector<float> sum(static_cast<std::size_t>(frames) * 2);
    m_sound.resize(sum.size());
    for (TrackReader &track : m_tracks) {
        if (const auto read = track.read(m_sound); !read)
            return std::unexpected(read.error());
        addSound(sum, m_sound);
    }
    limitToFullScale(sum);
    return sum;
}
} // namespace

std::expected<void, Error> mixWholeFiles(const MixComposition &composition,
                                         const QString &outputPath, const std::stop_token &stop)
{
    auto sound = Summed::open(composition);
    if (!sound)
        return std::unexpected(sound.error());
    const auto file = MixFile::create(outputPath);
    if (!file)
        return std::unexpected(file.error());

    // Decoding takes as long as encoding: the next piece is decoded beside the one in hand. Where
    // no thread can be had, it is done when it is waited for.
    const auto decodeNext = [&sound] {
        return std::async(std::launch::async | std::launch::deferred, &Summed::next, &*sound);
    };
    auto decoding = decodeNext();
    for (;;) {
        const auto piece = decoding.get();
        if (!piece)
            return std::unexpected(piece.error());
        if (piece->empty())
            break;
        decoding = decodeNext();
        if (const auto appended = (*file)->append(*piece); !appended)
            return appended;
        if (stop.stop_requested())
            return std::unexpected(Error(u"已取消"_s));
    }
    auto done = (*file)->finish();
    if (done)
        done = (*file)->publish();
    return done;
}
