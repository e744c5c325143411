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

using Bytes = hn::ScalableTag<std::uint8_t>;
using Words = hn::Repartition<std::uint16_t, Bytes>;

/// What three vectors of filled pixels hold, and how to tell at once that none of their pixels has
/// the key colour: as 16-bit words, each pixel has one word of green and a neighbour. Every third
/// word belongs to two pixels and tells nothing: its mask is 0, and its key cannot be met.
struct KeyTables {
  HWY_ALIGN std::uint8_t fill[3 * HWY_MAX_BYTES];
  HWY_ALIGN std::uint16_t mask[3 * HWY_MAX_BYTES / 2], key[3 * HWY_MAX_BYTES / 2];

  KeyTables() {
    for (std::size_t i = 0; i < std::size(fill); ++i) fill[i] = kFill[i % 3];
    for (std::size_t i = 0; i < std::size(mask); ++i) {
      mask[i] = i % 3 == 1 ? 0 : 0xFFFF;
      key[i] = i % 3 == 2 ? 0xFF00 : 0x00FF;
    }
  }
};

/// Where the vector at byte `at` of three, which starts at `pixels`, may hold the key colour.
HWY_INLINE hn::Mask<Words> MayBeKey(const KeyTables& tables, const std::uint8_t* pixels,
                                    std::ptrdiff_t at) {
  const Words d16;
  const auto words = hn::BitCast(d16, hn::LoadU(Bytes(), pixels + at));
  return hn::Eq(hn::And(words, hn::Load(d16, tables.mask + at / 2)),
                hn::Load(d16, tables.key + at / 2));
}

/// Reduces as many pixels as a vector has bytes.
HWY_INLINE void ReduceVectors(const KeyTables& tables, std::uint8_t* pixels) {
  const Bytes d8;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d8));
  const auto maybe = hn::Or(hn::Or(MayBeKey(tables, pixels, 0), MayBeKey(tables, pixels, lanes)),
                            MayBeKey(tables, pixels, 2 * lanes));
  if (hn::AllFalse(Words(), maybe)) {
    for (std::ptrdiff_t i = 0; i < 3 * lanes; i += lanes)
      hn::StoreU(hn::Load(d8, tables.fill + i), d8, pixels + i);
    return;
  }
  const auto all = hn::Set(d8, 255), none = hn::Zero(d8);
  auto blue = none, green = none, red = none;
  hn::LoadInterleaved3(d8, pixels, blue, green, red);
  const auto isKey = hn::And(hn::And(hn::Eq(blue, all), hn::Eq(red, all)), hn::Eq(green, none));
  if (hn::AllTrue(d8, isKey)) return;
  hn::StoreInterleaved3(hn::IfThenElse(isKey, all, hn::Set(d8, kFill[0])),
                        hn::IfThenElse(isKey, none, hn::Set(d8, kFill[1])),
                        hn::IfThenElse(isKey, all, hn::Set(d8, kFill[2])), d8, pixels);
}

void ReduceToKeyColour(ImageView bgr) {
  const KeyTables tables;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(Bytes()));
  for (std::int32_t y = 0; y < bgr.height; ++y) {
    std::uint8_t* pixel = bgr.Row(y);
    std::ptrdiff_t x = 0;
    for (; x + lanes <= bgr.width; x += lanes, pixel += 3 * lanes) ReduceVectors(tables, pixel);
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
