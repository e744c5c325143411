#include "histogram/histogram.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "histogram/sum_levels.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

std::uint64_t SumLevels(ConstImageView gray) {
  const hn::ScalableTag<std::uint8_t> d8;
  const hn::Repartition<std::uint64_t, decltype(d8)> d64;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d8));
  auto sums = hn::Zero(d64);
  std::uint64_t rest = 0;
  for (std::int32_t y = 0; y < gray.height; ++y) {
    const std::uint8_t* row = gray.Row(y);
    std::ptrdiff_t x = 0;
    for (; x + lanes <= gray.width; x += lanes)
      sums = hn::Add(sums, hn::SumsOf8(hn::LoadU(d8, row + x)));
    for (; x < gray.width; ++x) rest += row[x];
  }
  return rest + hn::GetLane(hn::SumOfLanes(d64, sums));
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(SumLevels);

std::uint64_t SumLevels(ConstImageView gray) { return HWY_DYNAMIC_DISPATCH(SumLevels)(gray); }

int MeanLevel(ConstImageView gray) {
  const auto pixels = std::uint64_t{1} * static_cast<std::uint32_t>(gray.width) *
                      static_cast<std::uint32_t>(gray.height);
  return static_cast<int>(SumLevels(gray) / pixels);
}

}  // namespace rastelo

#endif  // HWY_ONCE
