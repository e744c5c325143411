#include "filter/push.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/push.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

void PushLevels(ImageView gray, int threshold, bool clearLow, bool raiseHigh) {
  // In bytes, of which a vector holds the most. Where no level is low, level 0 is raised as well.
  const bool isLow = threshold > 0;
  const auto lastLow = static_cast<std::uint8_t>(std::clamp(threshold, 1, 256) - 1);
  const std::uint8_t raised = raiseHigh ? 255 : 0, kept = isLow && clearLow ? 0 : 255,
                     raisedLow = isLow ? 0 : raised;
  for (std::int32_t y = 0; y < gray.height; ++y) {
    std::uint8_t* row = gray.Row(y);
    for (std::int32_t x = 0; x < gray.width; ++x) {
      const std::uint8_t level = row[x];
      // Without a branch, which the last levels of rows of noise would mislead.
      const auto low = static_cast<std::uint8_t>(-static_cast<int>(level <= lastLow));
      row[x] = static_cast<std::uint8_t>((((level & kept) | raisedLow) & low) |
                                         ((level | raised) & ~low));
    }
  }
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(PushLevels);

void PushLevels(ImageView gray, int threshold, bool clearLow, bool raiseHigh) {
  HWY_DYNAMIC_DISPATCH(PushLevels)(gray, threshold, clearLow, raiseHigh);
}

}  // namespace rastelo

#endif  // HWY_ONCE
