#include "geometry/gray.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geometry/gray.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
using Words = hn::Repartition<std::uint16_t, Bytes>;
using Word = hn::Vec<Words>;

/// S / 1000, rounded down, S being 587 * green + 114 * blue + 299 * red, in words that hold bytes;
/// `exact` collects where S is a multiple of 1000.
Word DivideSum(Word blue, Word green, Word red, hn::Mask<Words>& exact) {
  const Words d;
  // S = 8 * eighths + ones, eighths <= 31620; the quotient by 1000 is that of S >> 3 by 125.
  const auto eighths =
      hn::Add(hn::Add(hn::Mul(green, hn::Set(d, 73)), hn::Mul(blue, hn::Set(d, 14))),
              hn::Mul(red, hn::Set(d, 37)));
  const auto greenAndRed = hn::Add(green, red);
  const auto twice = hn::Add(greenAndRed, blue);
  const auto ones = hn::Add(hn::Add(twice, twice), greenAndRed);
  const auto sum = hn::Add(eighths, hn::ShiftRight<3>(ones));
  // 125 * 33555 = 2^22 + 71, and 31875 * 71 < 2^22.
  const auto quotient = hn::ShiftRight<6>(hn::MulHigh(sum, hn::Set(d, 33555)));
  const auto rest =
      hn::Or(hn::Sub(sum, hn::Mul(quotient, hn::Set(d, 125))), hn::And(ones, hn::Set(d, 7)));
  exact = hn::Or(exact, hn::Eq(rest, hn::Zero(d)));
  return quotient;
}

void BgrToGray(ConstImageView bgr, ImageView gray) {
  const Bytes d;
  const Words words;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
  const auto low = hn::Set(words, 0xFF);
  const auto even = [&](auto v) { return hn::And(hn::BitCast(words, v), low); };
  const auto odd = [&](auto v) { return hn::ShiftRight<8>(hn::BitCast(words, v)); };
  for (std::int32_t y = 0; y < bgr.height; ++y) {
    const std::uint8_t* pixel = bgr.Row(y);
    std::uint8_t* level = gray.Row(y);
    const std::uint8_t* const end = level + bgr.width;
    const auto convert = [&](std::ptrdiff_t count) {
      for (; count > 0; --count, pixel += 3) *level++ = GrayLevel(pixel[0], pixel[1], pixel[2]);
    };
    while (end - level >= lanes) {
      auto blue = hn::Zero(d), green = blue, red = blue;
      hn::LoadInterleaved3(d, pixel, blue, green, red);
      auto exact = hn::FirstN(words, 0);
      const auto evens = DivideSum(even(blue), even(green), even(red), exact);
      const auto odds = DivideSum(odd(blue), odd(green), odd(red), exact);
      // Rounded sums are off by less than 2^-40, so that whole parts differ only where the sum is a
      // whole number: there it may come out below.
      if (!hn::AllFalse(words, exact)) {
        convert(lanes);
        continue;
      }
      hn::StoreU(hn::BitCast(d, hn::Or(evens, hn::ShiftLeft<8>(odds))), d, level);
      level += lanes;
      pixel += 3 * lanes;
    }
    convert(end - level);
  }
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(BgrToGray);

void BgrToGray(ConstImageView bgr, ImageView gray) { HWY_DYNAMIC_DISPATCH(BgrToGray)(bgr, gray); }

}  // namespace rastelo

#endif  // HWY_ONCE
