#include "platform/linux/mix/Sum.h"

#include <algorithm>
#include <cmath>
#include <functional>

void addSound(std::span<float> sum, std::span<const float> sound)
{
    std::ranges::transform(sum, sound, sum.begin(), std::plus());
}

void limitToFullScale(std::span<float> sum)
{
    for (float &sample : sum)
        sample = std::isnan(sample) ? 0.0F : std::clamp(sample, -1.0F, 1.0F);
}
