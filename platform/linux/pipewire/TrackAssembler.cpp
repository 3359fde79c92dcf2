#include "platform/linux/pipewire/TrackAssembler.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr int silenceFrames = 4096;

/// An error beyond a cycle and this would take the correction of drift minutes: the device lost
/// samples without its ticks telling. Up to a cycle the start of one may be off after a change of
/// the device.
constexpr double unexplainedSeconds = 0.02;
} // namespace

TrackAssembler::TrackAssembler(int sampleRate, int channelCount, Output output)
    : m_sampleRate(sampleRate)
    , m_channelCount(channelCount)
    , m_output(std::move(output))
    , m_placer(sampleRate)
    , m_history(FineResampler::historyFrames * static_cast<std::size_t>(channelCount))
    , m_silence(static_cast<std::size_t>(silenceFrames * channelCount))
{
}

void TrackAssembler::append(const CapturedCycle &cycle, std::span<const float> samples)
{
    if (!m_origin)
        m_origin = cycle.start();
    const bool isContinuing = m_placer.continues(cycle);
    const CyclePlacer::Placement placement = m_placer.place(cycle, m_appended, end());
    m_record.cut += placement.cut;
    appendSilence(placement.silence);
    if (placement.cut == 0)
        correctDrift(cycle, isContinuing);
    appendSamples(samples.subspan(static_cast<std::size_t>(placement.cut * m_channelCount)));
}

void TrackAssembler::correctDrift(const CapturedCycle &cycle, bool isContinuing)
{
    if (!isContinuing)
        m_drift.reset();
    const double error = std::chrono::duration<double>(end() - cycle.start()).count();
    const double length = static_cast<double>(cycle.frames) / m_sampleRate;
    m_longestCycle = std::max(m_longestCycle, length);
    m_drift.measure(error, length);
    if (std::abs(m_drift.errorSeconds()) > m_longestCycle + unexplainedSeconds) {
        m_placer.resynchronise();
        m_drift.reset();
    }

    const double partsPerMillion = m_drift.partsPerMillion();
    if (!m_resampler && partsPerMillion != 0.0)
        m_resampler = FineResampler::create(m_sampleRate, m_channelCount, m_history);
    if (m_resampler)
        m_resampler->setPartsPerMillion(partsPerMillion);
}

void TrackAssembler::changeDevice()
{
    m_placer.resynchronise();
    m_drift.reset();
    m_longestCycle = usualCycle;
}

void TrackAssembler::fillUntil(MediaTime time)
{
    if (!m_origin || time <= end())
        return;
    const double missing = std::chrono::duration<double>(time - end()).count();
    appendSilence(std::llround(missing * m_sampleRate));
}

void TrackAssembler::finish()
{
    if (!m_resampler)
        return;
    m_stretched.clear();
    m_resampler->finish(m_stretched);
    deliver(m_stretched);
    m_resampler.reset();
}

MediaTime TrackAssembler::end() const
{
    const double pending = m_resampler ? m_resampler->pendingFrames() : 0.0;
    return timeOf(static_cast<double>(m_delivered) + pending);
}

MediaTime TrackAssembler::timeOf(double frames) const
{
    const std::chrono::duration<double> sinceOrigin(frames / m_sampleRate);
    return m_origin.value_or(MediaTime(0)) + std::chrono::round<MediaTime>(sinceOrigin);
}

void TrackAssembler::appendSilence(qint64 frames)
{
    m_record.silence += frames;
    for (qint64 left = frames; left > 0; left -= silenceFrames) {
        const auto count = static_cast<std::size_t>(std::min<qint64>(left, silenceFrames));
        appendSamples(std::span(m_silence).first(count * static_cast<std::size_t>(m_channelCount)));
    }
}

void TrackAssembler::appendSamples(std::span<const float> samples)
{
    if (samples.empty())
        return;
    m_appended += static_cast<qint64>(samples.size()) / m_channelCount;
    if (!m_resampler) {
        keepHistory(samples);
        deliver(samples);
        return;
    }
    m_stretched.clear();
    m_resampler->append(samples, m_stretched);
    deliver(m_stretched);
}

void TrackAssembler::keepHistory(std::span<const float> samples)
{
    const auto kept = samples.last(std::min(samples.size(), m_history.size()));
    std::ranges::rotate(m_history, m_history.begin() + std::ssize(kept));
    std::ranges::copy(kept, m_history.end() - static_cast<std::ptrdiff_t>(kept.size()));
}

void TrackAssembler::deliver(std::span<const float> samples)
{
    if (samples.empty())
        return;
    m_output(AudioBuffer{samples, m_channelCount, m_sampleRate,
                         timeOf(static_cast<double>(m_delivered))});
    m_delivered += static_cast<qint64>(samples.size()) / m_channelCount;
}
