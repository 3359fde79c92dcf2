#pragma once

#include <span>

/// Adds \p sound to \p sum, sample by sample; both are equally long.
void addSound(std::span<float> sum, std::span<const float> sound);

/// Cuts \p sum off at full scale, -1 to 1. What is no number becomes silence.
void limitToFullScale(std::span<float> sum);
