#pragma once

#include <memory>
#include <span>
#include <vector>

struct SwrContext;

/// Stretches sound by parts per million.
class FineResampler
{
public:
    /// Takes over from sound that was passed on untouched: \p history is the last of it,
    /// interleaved, at least historyFrames frames. Null when the resampler cannot be made.
    static std::unique_ptr<FineResampler> create(int sampleRate, int channelCount,
                                                 std::span<const float> history);

    /// The frames of the past that create() wants to know.
    static constexpr std::size_t historyFrames = 64;

    /// Positive: the sound becomes longer. Counts from the next append().
    void setPartsPerMillion(double partsPerMillion);

    /// Appends the stretched sound of \p samples to \p output; some of it comes later.
    void append(std::span<const float> samples, std::vector<float> &output);

    /// Appends what is still pending. Nothing can follow.
    void finish(std::vector<float> &output);

    /// Frames that went in and have not come out.
    double pendingFrames() const;

private:
    struct ContextDeleter {
        void operator()(SwrContext *context) const;
    };
    using Context = std::unique_ptr<SwrContext, ContextDeleter>;

    FineResampler(Context context, int sampleRate, int channelCount)
        : m_context(std::move(context))
        , m_sampleRate(sampleRate)
        , m_channelCount(channelCount)
    {
    }
    void convert(const float *samples, int frames, std::vector<float> &output);

    Context m_context;
    int m_sampleRate;
    int m_channelCount;
    int m_framesToDrop = 0; ///< of the output: they were passed on untouched before
};
