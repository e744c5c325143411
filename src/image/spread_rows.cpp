#include "image/spread_rows.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/spread_rows.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

void SpreadLevels(const std::uint8_t* from, std::ptrdiff_t count, std::uint8_t* to) {
  const hn::ScalableTag<std::uint8_t> d8;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d8));
  std::ptrdiff_t x = 0;
  for (; x + lanes <= count; x += lanes) {
    const auto levels = hn::LoadU(d8, from + x);
    hn::StoreInterleaved3(levels, levels, levels, d8, to + 3 * x);
  }
  for (; x < count; ++x) to[3 * x] = to[3 * x + 1] = to[3 * x + 2] = from[x];
}

void SpreadRowsTopFirst(ConstImageView pixels, int bitCount, ImageView topFirst) {
  for (std::int32_t y = 0; y < pixels.height; ++y) {
    const std::uint8_t* from = pixels.Row(y);
    std::uint8_t* to = topFirst.Row(pixels.height - 1 - y);
    if (bitCount == 24)
      std::copy_n(from, std::ptrdiff_t{3} * pixels.width, to);
    else
      SpreadLevels(from, pixels.width, to);
  }
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(SpreadRowsTopFirst);

void SpreadRowsTopFirst(ConstImageView pixels, int bitCount, ImageView topFirst) {
  HWY_DYNAMIC_DISPATCH(SpreadRowsTopFirst)(pixels, bitCount, topFirst);
}

}  // namespace rastelo

#endif  // HWY_ONCE
