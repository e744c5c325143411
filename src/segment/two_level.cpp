#include "segment/two_level.h"

#include <utility>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "segment/two_level.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

// Plain loops, vectorised by the compiler for each instruction set.

void ClearBelow(ImageView image, std::uint8_t threshold) {
  for (std::int32_t y = 0; y < image.height; ++y) {
    std::uint8_t* row = image.Row(y);
    for (std::int32_t x = 0; x < image.width; ++x) row[x] = row[x] < threshold ? 0 : row[x];
  }
}

void SplitAt(ImageView image, std::uint8_t threshold) {
  for (std::int32_t y = 0; y < image.height; ++y) {
    std::uint8_t* row = image.Row(y);
    for (std::int32_t x = 0; x < image.width; ++x) row[x] = row[x] < threshold ? 0 : 255;
  }
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(ClearBelow);
HWY_EXPORT(SplitAt);

void ClearBelow(ImageView image, std::uint8_t threshold) {
  HWY_DYNAMIC_DISPATCH(ClearBelow)(image, threshold);
}

bool ClearBelow(Histogram& counts, std::uint8_t threshold) {
  const std::int32_t black = counts[0];
  for (std::size_t level = 1; level < threshold; ++level)
    counts[0] += std::exchange(counts[level], 0);
  return counts[0] != black;
}

void SplitAt(ImageView image, std::uint8_t threshold) {
  HWY_DYNAMIC_DISPATCH(SplitAt)(image, threshold);
}

}  // namespace rastelo

#endif  // HWY_ONCE
