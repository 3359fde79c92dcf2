#pragma once

#include <QDir>

/// Makes `system.raw` (stereo: a voice, line noise, and music during a third of the time) and
/// `mic.raw` (mono: another voice with room noise) in \p folder, as 32-bit floats at 48 kHz. Needs
/// espeak-ng and ffmpeg; ends the process where they fail.
void makeMeetingSound(const QDir &folder, int seconds);
