#include "image/key_colour.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/key_colour.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

constexpr std::uint8_t kFill[3] = {70, 51, 41};

void ReduceToKeyColour(ImageView bgr) {
  const hn::ScalableTag<std::uint8_t> d;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
  const auto all = hn::Set(d, 255), none = hn::Zero(d);
  for (std::int32_t y = 0; y < bgr.height; ++y) {
    std::uint8_t* pixel = bgr.Row(y);
    std::ptrdiff_t x = 0;
    for (; x + lanes <= bgr.width; x += lanes, pixel += 3 * lanes) {
      auto blue = none, green = none, red = none;
      hn::LoadInterleaved3(d, pixel, blue, green, red);
      const auto isKey = hn::And(hn::And(hn::Eq(blue, all), hn::Eq(red, all)), hn::Eq(green, none));
      hn::StoreInterleaved3(hn::IfThenElse(isKey, all, hn::Set(d, kFill[0])),
                            hn::IfThenElse(isKey, none, hn::Set(d, kFill[1])),
                            hn::IfThenElse(isKey, all, hn::Set(d, kFill[2])), d, pixel);
    }
    for (; x < bgr.width; ++x, pixel += 3) {
      if (pixel[0] == 255 && pixel[1] == 0 && pixel[2] == 255) continue;
      std::copy_n(kFill, 3, pixel);
    }
  }
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(ReduceToKeyColour);

void ReduceToKeyColour(ImageView bgr) { HWY_DYNAMIC_DISPATCH(ReduceToKeyColour)(bgr); }

}  // namespace rastelo

#endif  // HWY_ONCE
