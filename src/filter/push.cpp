#include "filter/push.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/push.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

/// A plain loop, vectorised by the compiler for each instruction set.
template <bool kClearLow, bool kRaiseHigh>
void Push(ImageView gray, std::uint8_t threshold) {
  for (std::int32_t y = 0; y < gray.height; ++y) {
    std::uint8_t* row = gray.Row(y);
    for (std::int32_t x = 0; x < gray.width; ++x) {
      const std::uint8_t low = kClearLow ? 0 : row[x], high = kRaiseHigh ? 255 : row[x];
      row[x] = row[x] < threshold ? low : high;
    }
  }
}

void PushLevels(ImageView gray, std::uint8_t threshold, bool clearLow, bool raiseHigh) {
  if (clearLow && raiseHigh)
    Push<true, true>(gray, threshold);
  else if (clearLow)
    Push<true, false>(gray, threshold);
  else if (raiseHigh)
    Push<false, true>(gray, threshold);
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(PushLevels);

void PushLevels(ImageView gray, int threshold, bool clearLow, bool raiseHigh) {
  if (threshold <= UINT8_MAX) {
    const auto level = static_cast<std::uint8_t>(std::max(threshold, 0));
    HWY_DYNAMIC_DISPATCH(PushLevels)(gray, level, clearLow, raiseHigh);
  } else if (clearLow) {
    for (std::int32_t y = 0; y < gray.height; ++y)
      std::fill_n(gray.Row(y), gray.width, std::uint8_t{0});
  }
}

}  // namespace rastelo

#endif  // HWY_ONCE
