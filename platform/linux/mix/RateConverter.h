#pragma once

#include "base/Error.h"
#include "platform/linux/mix/StereoQueue.h"

#include <expected>
#include <memory>
#include <span>

struct SwrContext;

/// Brings interleaved stereo from one sample rate to another. The first frame stays the first.
/// Used by one thread at a time.
class RateConverter
{
public:
    /// Rates in frames per second.
    static std::expected<RateConverter, Error> create(int from, int to);

    std::expected<void, Error> feed(std::span<const float> stereo);

    /// Nothing follows: what is held back becomes available.
    std::expected<void, Error> finish();

    qint64 available() const { return m_queue.frames(); }

    /// Takes the next frames: \p stereo must not be longer than available().
    void take(std::span<float> stereo) { m_queue.take(stereo); }

private:
    struct Deleter {
        void operator()(SwrContext *context) const;
    };
    using Context = std::unique_ptr<SwrContext, Deleter>;

    explicit RateConverter(Context context);
    std::expected<void, Error> convert(const float *stereo, int frames);

    Context m_context;
    StereoQueue m_queue;
};
