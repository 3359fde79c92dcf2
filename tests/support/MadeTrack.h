#pragma once

#include "tests/support/Packets.h"

#include <QString>

#include <vector>

/// Sound that keeps an encoder busy as speech over music does: chords, noise that comes and goes,
/// and clicks, which make it change its windows. Interleaved, the same for the same \p seed.
std::vector<float> liveliness(qint64 frames, int channelCount, quint32 seed);

/// Writes \p sound as a finished track. False when that fails.
bool makePlainTrack(const QString &path, const EncodedSound &sound);

/// Writes \p sound as a track looks like when its recording has just been closed.
bool makeFragmentedTrack(const QString &path, const EncodedSound &sound);
