#pragma once

#include <algorithm>
#include <cstdint>

namespace rastelo {

/// The whole numbers from `first` on that are less than `end`: columns or rows.
struct Interval {
  std::int64_t first = 0, end = 0;

  constexpr bool IsEmpty() const { return first >= end; }
  constexpr std::int64_t Length() const { return end - first; }
};

/// What of an interval lies within `limits`, whose end may not be less than its first. The result's
/// never is, and both lie within the limits, also if nothing is left.
constexpr Interval Clip(Interval interval, Interval limits) {
  const std::int64_t first = std::clamp(interval.first, limits.first, limits.end);
  return {first, std::clamp(interval.end, first, limits.end)};
}

}  // namespace rastelo
