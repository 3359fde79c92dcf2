"""Voices for a meeting, and how to find them again in its recording."""

import numpy as np

from story.waiting import run

RATE = 16000  # enough to compare speech
# A second of speech that is not there reaches 0.2 by chance; of two equally loud, each has 0.7.
SMALLEST_PRESENCE = 0.35
LEVELS = (0.89, 1.12)  # as it was played, within 1 dB


def decode(path):
    """The first channel, as samples."""
    raw = run("ffmpeg", "-v", "error", "-i", str(path), "-af", "pan=mono|c0=c0", "-f", "f32le",
              "-ar", str(RATE), "-")
    return np.frombuffer(raw, dtype="<f4").astype(np.float64)


def speak(path, voice, text, channels):
    """Speaks the text into a file at 48 kHz."""
    spoken = path.with_suffix(".spoken.wav")
    run("espeak-ng", "-v", voice, "-s", "150", "-w", str(spoken), text)
    # The player leaves out its last, partial cycle: let that be silence.
    run("ffmpeg", "-v", "error", "-i", str(spoken), "-af", "volume=-3dB,apad=pad_dur=0.2",
        "-ar", "48000", "-ac", str(channels), "-c:a", "pcm_f32le", str(path))
    return path


def correlate(mix, spectrum, voice):
    """The best normalised correlation of the voice with any stretch of the mix, its level there, and
    the stretch's first frame."""
    size = 2 * (len(spectrum) - 1)
    products = np.fft.irfft(spectrum * np.conj(np.fft.rfft(voice, size)), size)
    start = int(np.argmax(np.abs(products[:len(mix)])))
    power = np.dot(voice, voice)
    norms = np.linalg.norm(mix[start:start + len(voice)]) * np.sqrt(power)
    return (abs(products[start]) / norms if norms > 0 else 0.0), products[start] / power, start


def presence(mix, voice):
    """How much of a voice is in the mix (1: nothing else), how loud, and from which second on.

    Second by second, and counting the better half: a player on a machine that is held up skips, which
    spoils the second and shifts everything after it.
    """
    spectrum = np.fft.rfft(mix, 1 << int(np.ceil(np.log2(len(mix) + RATE))))
    found = []
    for begin in range(0, len(voice) - RATE, RATE):
        part = voice[begin:begin + RATE]
        if np.abs(part).max() > 0.01:
            correlation, level, start = correlate(mix, spectrum, part)
            found.append((correlation, level, (start - begin) / RATE))
    found.sort(reverse=True)
    better = np.array(found[:(len(found) + 1) // 2])
    return tuple(np.median(better, axis=0))


def is_present(correlation, level):
    return correlation >= SMALLEST_PRESENCE and LEVELS[0] < level < LEVELS[1]
