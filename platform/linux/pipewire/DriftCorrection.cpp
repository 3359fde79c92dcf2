#include "platform/linux/pipewire/DriftCorrection.h"

#include <algorithm>
#include <cmath>

namespace
{
// Chosen by simulating two hours of 1000 ppm with 1.5 ms of jitter: the error peaks at 19 ms within
// the first minute and is below 1 ms afterwards; steps of a cycle's length are taken without
// overshooting the limit.
constexpr double smoothingSeconds = 8.0;
constexpr double proportional = 0.05; ///< per second
constexpr double integral = 0.25 * proportional * proportional;

/// Crystals are off by 100 ppm at most, cheap devices by 1000. The rest is for catching up, and
/// still no more than a fortieth of a semitone.
constexpr double limitPartsPerMillion = 1500.0;

/// Below this nobody hears two tracks apart, and the samples are better left alone.
constexpr double worthwhileSeconds = 0.005;

constexpr double million = 1e6;
} // namespace

void DriftCorrection::measure(double errorSeconds, double elapsedSeconds)
{
    m_error += (errorSeconds - m_error) * (1.0 - std::exp(-elapsedSeconds / smoothingSeconds));
    m_sinceControl += elapsedSeconds;
    if (m_sinceControl >= 1.0)
        control();
}

void DriftCorrection::control()
{
    const double elapsed = std::min(m_sinceControl, 2.0);
    m_sinceControl = 0.0;
    m_isActive = m_isActive || std::abs(m_error) > worthwhileSeconds;
    if (!m_isActive)
        return;
    const double wanted = (m_error * proportional + m_integral) * million;
    // At the limit the integral would only grow into an overshoot.
    if (std::abs(wanted) < limitPartsPerMillion || wanted * m_error < 0.0)
        m_integral += m_error * integral * elapsed;
    const double shorter = (m_error * proportional + m_integral) * million;
    m_partsPerMillion = std::clamp(-shorter, -limitPartsPerMillion, limitPartsPerMillion);
}
