#pragma once

#include <optional>

#include "histogram/histogram.h"

namespace rastelo {

/// The threshold between the levels `low` and `high` with the largest variance between the class
/// below it and the class from it on (Otsu 1979). Shares are of the pixels from `low` to `high`; a
/// class with a share below 0.01 does not qualify. Among equals the lowest level wins. Sums are in
/// double precision, levels ascending, each term of a mean divided by its class's share before it
/// is added.
/// @return a level above `low`, or nothing if no threshold qualifies. Needs
/// 0 <= low <= high <= 255.
std::optional<int> FindOtsuThreshold(LevelCounts counts, int low, int high);

}  // namespace rastelo
