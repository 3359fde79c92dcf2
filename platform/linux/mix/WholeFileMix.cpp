#include "platform/linux/mix/WholeFileMix.h"

#include "platform/linux/mix/MixEncoding.h"
#include "platform/linux/mix/MixFile.h"
#include "platform/linux/mix/ParallelEncoder.h"
#include "platform/linux/mix/Sum.h"
#include "platform/linux/mix/TrackReader.h"

#include <algorithm>
#include <cmath>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{
/// The tracks of a composition as one sound.
class Summed
{
public:
    static std::expected<Summed, Error> open(const MixComposition &composition);

    qint64 frameCount() const { return m_frameCount; }
    std::expected<void, Error> read(std::span<float> stereo);

private:
    std::vector<TrackReader> m_tracks;
    std::vector<float> m_sound;
    qint64 m_frameCount = 0;
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
        summed.m_frameCount = std::max(summed.m_frameCount, track->frameCount());
        summed.m_tracks.push_back(std::move(*track));
    }
    return summed;
}

std::expected<void, Error> Summed::read(std::span<float> stereo)
{
    m_sound.resize(stereo.size());
    std::ranges::fill(stereo, 0.0F);
    for (TrackReader &track : m_tracks) {
        if (const auto read = track.read(m_sound); !read)
            return read;
        addSound(stereo, m_sound);
    }
    limitToFullScale(stereo);
    return {};
}
} // namespace

std::expected<void, Error> mixWholeFiles(const MixComposition &composition,
                                         const QString &outputPath, int threadCount,
                                         const std::stop_token &stop)
{
    auto sound = Summed::open(composition);
    if (!sound)
        return std::unexpected(sound.error());
    const auto file = MixFile::create(outputPath);
    if (!file)
        return std::unexpected(file.error());

    MixFile &output = **file;
    ParallelEncoder encoder(threadCount, [&output](AacPacket &&packet) { output.add(packet); });
    std::vector<float> block;
    for (qint64 position = 0; position < sound->frameCount(); position += aacFrameLength) {
        const qint64 frames = std::min(aacFrameLength, sound->frameCount() - position);
        block.resize(static_cast<std::size_t>(frames) * 2);
        auto done = sound->read(block);
        if (done)
            done = encoder.encode(block);
        if (!done)
            return done;
        if (output.failure())
            return std::unexpected(*output.failure());
        if (stop.stop_requested())
            return std::unexpected(Error(u"已取消"_s));
    }
    auto done = encoder.finish();
    if (done)
        done = output.finish(sound->frameCount());
    if (done)
        done = output.publish();
    return done;
}
