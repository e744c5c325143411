#include "image/key_colour.h"

#include <algorithm>
#include <iterator>

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
  const hn::Repartition<std::uint16_t, decltype(d)> pairs;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
  const auto all = hn::Set(d, 255), none = hn::Zero(d);
  // Three vectors are full of the bytes of filled pixels, and of pairs of bytes. Of each pixel, one
  // pair holds green and a neighbour. Every third pair belongs to two pixels and tells nothing: its
  // mask is 0, and its key cannot be met.
  HWY_ALIGN std::uint8_t fill[3 * HWY_MAX_BYTES];
  HWY_ALIGN std::uint16_t mask[3 * HWY_MAX_BYTES / 2], key[3 * HWY_MAX_BYTES / 2];
  for (std::size_t i = 0; i < std::size(fill); ++i) fill[i] = kFill[i % 3];
  for (std::size_t i = 0; i < std::size(mask); ++i) {
    mask[i] = i % 3 == 1 ? 0 : 0xFFFF;
    key[i] = i % 3 == 2 ? 0xFF00 : 0x00FF;
  }
  const auto mayBeKey = [&](const std::uint8_t* block, std::ptrdiff_t at) {
    const auto bytes = hn::BitCast(pairs, hn::LoadU(d, block + at));
    return hn::Eq(hn::And(bytes, hn::Load(pairs, mask + at / 2)), hn::Load(pairs, key + at / 2));
  };
  for (std::int32_t y = 0; y < bgr.height; ++y) {
    std::uint8_t* pixel = bgr.Row(y);
    std::ptrdiff_t x = 0;
    for (; x + lanes <= bgr.width; x += lanes, pixel += 3 * lanes) {
      const auto maybe =
          hn::Or(hn::Or(mayBeKey(pixel, 0), mayBeKey(pixel, lanes)), mayBeKey(pixel, 2 * lanes));
      if (hn::AllFalse(pairs, maybe)) {
        for (std::ptrdiff_t i = 0; i < 3 * lanes; i += lanes)
          hn::StoreU(hn::Load(d, fill + i), d, pixel + i);
        continue;
      }
      auto blue = none, green = none, red = none;
      hn::LoadInterleaved3(d, pixel, blue, green, red);
      const auto isKey = hn::And(hn::And(hn::Eq(blue, all), hn::Eq(red, all)), hn::Eq(green, none));
      if (hn::AllTrue(d, isKey)) continue;
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
