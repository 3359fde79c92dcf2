#include "platform/linux/pipewire/FineResampler.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <cmath>

namespace
{
/// Frames over which a correction is spread; it is renewed much earlier. Its length is the
/// resolution: one frame in ten seconds is 2 ppm.
constexpr int correctionSeconds = 10;
} // namespace

void FineResampler::ContextDeleter::operator()(SwrContext *context) const
{
    swr_free(&context);
}

std::unique_ptr<FineResampler> FineResampler::create(int sampleRate, int channelCount,
                                                     std::span<const float> history)
{
    AVChannelLayout layout{};
    av_channel_layout_default(&layout, channelCount);
    SwrContext *raw = nullptr;
    if (swr_alloc_set_opts2(&raw, &layout, AV_SAMPLE_FMT_FLT, sampleRate, &layout,
                            AV_SAMPLE_FMT_FLT, sampleRate, 0, nullptr) < 0)
        return nullptr;
    Context context(raw);
    av_opt_set_int(raw, "flags", SWR_FLAG_RESAMPLE, 0);
    av_opt_set_int(raw, "linear_interp", 1, 0);
    if (swr_init(raw) < 0)
        return nullptr;

    std::unique_ptr<FineResampler> resampler(
        new FineResampler(std::move(context), sampleRate, channelCount));
    resampler->m_framesToDrop = static_cast<int>(history.size()) / channelCount;
    std::vector<float> dropped;
    resampler->append(history, dropped);
    return resampler;
}

void FineResampler::setPartsPerMillion(double partsPerMillion)
{
    const int distance = m_sampleRate * correctionSeconds;
    const auto delta = static_cast<int>(std::lround(partsPerMillion * 1e-6 * distance));
    swr_set_compensation(m_context.get(), delta, distance);
}

void FineResampler::append(std::span<const float> samples, std::vector<float> &output)
{
    convert(samples.data(), static_cast<int>(samples.size()) / m_channelCount, output);
}

void FineResampler::finish(std::vector<float> &output)
{
    convert(nullptr, 0, output);
}

void FineResampler::convert(const float *samples, int frames, std::vector<float> &output)
{
    const int room = swr_get_out_samples(m_context.get(), frames);
    if (room <= 0)
        return;
    const auto channels = static_cast<std::size_t>(m_channelCount);
    const std::size_t before = output.size();
    output.resize(before + static_cast<std::size_t>(room) * channels);
    auto *out = reinterpret_cast<uint8_t *>(output.data() + before);
    const auto *in = reinterpret_cast<const uint8_t *>(samples);
    const int made = std::max(
        0, swr_convert(m_context.get(), &out, room, in != nullptr ? &in : nullptr, frames));
    output.resize(before + static_cast<std::size_t>(made) * channels);

    const int dropped = std::min(made, m_framesToDrop);
    m_framesToDrop -= dropped;
    const auto first = output.begin() + static_cast<std::ptrdiff_t>(before);
    output.erase(first, first + static_cast<std::ptrdiff_t>(dropped) * m_channelCount);
}

double FineResampler::pendingFrames() const
{
    // Ask for the delay in a finer base, because it is a fraction of a frame.
    constexpr int fraction = 1000;
    const auto delay =
        swr_get_delay(m_context.get(), static_cast<int64_t>(m_sampleRate) * fraction);
    return static_cast<double>(delay) / fraction - m_framesToDrop;
}
