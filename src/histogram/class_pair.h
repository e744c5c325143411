#pragma once

#include <optional>

#include "histogram/histogram.h"

namespace rastelo {

/// Two thresholds, 0 <= low < high <= 254.
struct ThresholdPair {
  int low, high;
};

/// The pair of thresholds with the smallest variance within the classes 0 to low - 1, low to
/// high - 1 and high to 254, each weighted by its share of the pixels (Otsu 1979, in its form for
/// several thresholds). Level 255 has no share. A pair with a class that has levels but no pixels
/// does not count; among equals the first in ascending order wins.
/// @return the pair, or nothing if there is none: fewer than two levels below 255 have pixels.
std::optional<ThresholdPair> FindClassPair(LevelCounts counts);

}  // namespace rastelo
