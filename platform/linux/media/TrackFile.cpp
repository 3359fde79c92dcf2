#include "platform/linux/media/TrackFile.h"

#include "platform/linux/media/FragmentReader.h"

#include <algorithm>
#include <span>

using namespace Qt::StringLiterals;

namespace
{
std::unexpected<Error> failed(const QString &path, const QString &reason)
{
    return std::unexpected(Error(u"无法读取 %1：%2"_s.arg(path, reason)));
}

std::span<AVStream *const> streams(const AVFormatContext &file)
{
    return {file.streams, file.nb_streams};
}

bool isAudio(const AVStream *stream)
{
    return stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
}

/// Whether the stream may be an audio track whose description is damaged.
bool isUnknown(const AVStream *stream)
{
    return stream->codecpar->codec_type == AVMEDIA_TYPE_DATA ||
           stream->codecpar->codec_type == AVMEDIA_TYPE_UNKNOWN;
}

std::expected<TrackFacts, Error> inspectFragmented(const QString &path, const AacFormat &format)
{
    const auto frames = fragmentedLength(path);
    if (!frames)
        return std::unexpected(frames.error());
    return TrackFacts{.audioTrackCount = 1,
                      .sampleRate = format.sampleRate,
                      .channelCount = format.channelCount,
                      .frameCount = *frames};
}
} // namespace

std::expected<TrackFacts, Error> inspectTrack(const QString &path)
{
    // Whoever asks wants to read on, and may do so on the main thread, which must not wait for it.
    if (const auto loaded = loadLibav(); !loaded)
        return std::unexpected(loaded.error());
    if (const auto fragments = FragmentReader::open(path))
        return inspectFragmented(path, fragments->format());
    const auto file = openIndexedFile(path);
    if (!file)
        return std::unexpected(file.error());
    TrackFacts facts;
    facts.audioTrackCount = static_cast<int>(std::ranges::count_if(streams(**file), isAudio));
    if (const AVStream *track = firstAudioTrack(**file)) {
        const auto frames = audibleFrames(*track);
        if (!frames)
            return std::unexpected(frames.error());
        facts.sampleRate = track->codecpar->sample_rate;
        facts.channelCount = track->codecpar->ch_layout.nb_channels;
        facts.frameCount = *frames;
    }
    return facts;
}

std::expected<LibavInput, Error> openIndexedFile(const QString &path)
{
    auto file = openMovie(path);
    if (!file)
        return failed(path, file.error().description());
    // A file without an audio track costs the user the other one; that must be beyond doubt.
    if (!firstAudioTrack(**file) &&
        ((*file)->nb_streams == 0 || std::ranges::any_of(streams(**file), isUnknown)))
        return failed(path, u"索引已损坏"_s);
    return file;
}

const AVStream *firstAudioTrack(const AVFormatContext &file)
{
    const auto all = streams(file);
    const auto found = std::ranges::find_if(all, isAudio);
    return found == all.end() ? nullptr : *found;
}

std::expected<qint64, Error> audibleFrames(const AVStream &track)
{
    if (track.duration == AV_NOPTS_VALUE || track.duration < 0 || track.codecpar->sample_rate <= 0)
        return std::unexpected(Error(u"音轨没有长度"_s));
    return av_rescale_q(track.duration, track.time_base, {1, track.codecpar->sample_rate});
}
