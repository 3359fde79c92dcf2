#pragma once

/// Finds out by how much a track has to be stretched so that it keeps time with the system's clock
/// although the device's crystal does not.
///
/// A low-pass against the jitter of single measurements, then a proportional-integral controller
/// that moves once a second. Says nothing (zero) until the error is worth touching the sound.
class DriftCorrection
{
public:
    /// Takes one measurement: the track is \p errorSeconds longer than the clock says, and
    /// \p elapsedSeconds long is the sound since the one before.
    void measure(double errorSeconds, double elapsedSeconds);

    /// Forgets everything: another device drives now.
    void reset() { *this = DriftCorrection(); }

    /// How much longer the sound from now on has to become, in parts per million; negative:
    /// shorter.
    double partsPerMillion() const { return m_partsPerMillion; }

    /// The error without its jitter.
    double errorSeconds() const { return m_error; }

private:
    void control();

    double m_error = 0.0;
    double m_integral = 0.0;
    double m_sinceControl = 0.0;
    double m_partsPerMillion = 0.0;
    bool m_isActive = false;
};
