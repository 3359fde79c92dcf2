#pragma once

#include "platform/linux/pipewire/CyclePlacer.h"
#include "platform/linux/pipewire/DriftCorrection.h"
#include "platform/linux/pipewire/FineResampler.h"

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

/// Makes one continuous track of captured cycles: gaps become silence, overlaps are cut, drift is
/// corrected. What comes out has no holes, and its presentation times count frames exactly.
///
/// Used by one thread at a time.
class TrackAssembler
{
public:
    using Output = std::function<void(const AudioBuffer &)>;

    /// The changes to the sound so far, in frames of the track.
    struct Record {
        qint64 silence = 0;
        qint64 cut = 0;

        bool operator==(const Record &) const = default;
    };

    TrackAssembler(int sampleRate, int channelCount, Output output);

    /// Appends the sound of \p cycle (interleaved, cycle.frames frames). The first one begins the
    /// track.
    void append(const CapturedCycle &cycle, std::span<const float> samples);

    /// The cycles from now on come from another device: the system's clock places the first one.
    void changeDevice();

    /// Appends silence up to \p time, where the track is not yet that long. Nothing before it
    /// began.
    void fillUntil(MediaTime time);

    /// Hands out what is still pending. Nothing can follow.
    void finish();

    /// When the frame that is appended next will be heard.
    MediaTime end() const;

    const Record &record() const { return m_record; }
    double partsPerMillion() const { return m_drift.partsPerMillion(); }

private:
    void correctDrift(const CapturedCycle &cycle, bool isContinuing);
    void appendSilence(qint64 frames);
    void appendSamples(std::span<const float> samples);
    void keepHistory(std::span<const float> samples);
    void deliver(std::span<const float> samples);
    MediaTime timeOf(double frames) const;

    /// A desktop's longest cycle is 2048 frames.
    static constexpr double usualCycle = 0.04;

    const int m_sampleRate;
    const int m_channelCount;
    const Output m_output;
    CyclePlacer m_placer;
    DriftCorrection m_drift;
    std::unique_ptr<FineResampler> m_resampler; ///< null while nothing has to be corrected
    std::optional<MediaTime> m_origin;  ///< when the track began; none before its first cycle
    qint64 m_appended = 0;              ///< frames before the correction of drift
    qint64 m_delivered = 0;             ///< frames after it
    double m_longestCycle = usualCycle; ///< of the device, in seconds
    Record m_record;
    std::vector<float> m_history; ///< the last frames that were delivered untouched
    std::vector<float> m_stretched;
    const std::vector<float> m_silence;
};
