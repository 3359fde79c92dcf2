#include "tests/support/MadeTrack.h"

#include "platform/linux/media/FragmentWriter.h"
#include "platform/linux/media/M4aMuxer.h"

#include <cmath>
#include <numbers>
#include <random>

namespace
{
template<class Writer>
bool makeTrack(const QString &path, const EncodedSound &sound)
{
    auto writer = Writer::create(path, sound.format);
    bool good = writer.has_value();
    for (const AacPacket &packet : sound.packets)
        good = good && writer->addPacket(packet);
    return good && writer->finish(sound.frameCount);
}
} // namespace

std::vector<float> liveliness(qint64 frames, int channelCount, quint32 seed)
{
    constexpr qint64 second = 48000;
    std::minstd_rand random(seed);
    const auto unit = [&] { return static_cast<double>(random()) / std::minstd_rand::max(); };
    std::vector<float> samples;
    samples.reserve(static_cast<std::size_t>(frames * channelCount));
    double pitch = 0;
    double loudness = 0;
    double click = 0;
    for (qint64 i = 0; i < frames; ++i) {
        if (i % (second / 2) == 0)
            pitch = 2 * std::numbers::pi * (110 + 440 * unit()) / second;
        if (i % (second / 5) == 0)
            loudness = 0.1 * unit();
        click = random() % 20000 == 0 ? 0.5 : click * 0.97;
        const auto time = static_cast<double>(i);
        const double chord = 0.06 * (std::sin(pitch * time) + std::sin(1.5 * pitch * time));
        for (int channel = 0; channel < channelCount; ++channel) {
            const double hiss = (2 * unit() - 1) * (loudness + click);
            samples.push_back(static_cast<float>(chord * (1 + channel) + hiss));
        }
    }
    return samples;
}

bool makePlainTrack(const QString &path, const EncodedSound &sound)
{
    return makeTrack<M4aMuxer>(path, sound);
}

bool makeFragmentedTrack(const QString &path, const EncodedSound &sound)
{
    return makeTrack<FragmentWriter>(path, sound);
}
