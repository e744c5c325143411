#include "geometry/gray.h"

#include <algorithm>
#include <bit>

#include <hwy/cache_control.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geometry/gray.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

#include "image/even_odd-inl.h"
#include "image/planes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
using Words = hn::Repartition<std::uint16_t, Bytes>;
using Word = hn::Vec<Words>;

/// The bytes that even and odd words hold in their low halves.
HWY_INLINE hn::Vec<Bytes> Together(Word evens, Word odds) {
  return hn::BitCast(Bytes(),
                     hn::Or(hn::And(evens, hn::Set(Words(), 0xFF)), hn::ShiftLeft<8>(odds)));
}

/// How far ahead rows are fetched into the near cache.
constexpr std::ptrdiff_t kAhead = 8192;

/// The compiler would take products by constants apart into more work, and so these are none.
struct Factors {
  std::uint16_t blue = 14, green = 73, red = 37, thousandth = 33555, thousand = 1000;
};
const volatile Factors kFactors;

/// Works out S / 1000, S being 587 * green + 114 * blue + 299 * red.
struct Divider {
  Word blue, green, red, thousandth, thousand;

  /// The quotient, rounded down, for words that hold bytes; `exact` tells where S is a multiple of
  /// 1000.
  HWY_INLINE Word operator()(Word b, Word g, Word r, hn::Mask<Words>& exact) const {
    // S = 8 * eighths + ones, eighths <= 31620; the quotient by 1000 is that of S >> 3 by 125.
    const auto eighths = hn::Add(hn::Add(hn::Mul(g, green), hn::Mul(b, blue)), hn::Mul(r, red));
    const auto greenAndRed = hn::Add(g, r);
    const auto twice = hn::Add(greenAndRed, b);
    const auto ones = hn::Add(hn::Add(twice, twice), greenAndRed);
    const auto sum = hn::Add(eighths, hn::ShiftRight<3>(ones));
    // 125 * 33555 = 2^22 + 71, and 31875 * 71 < 2^22.
    const auto quotient = hn::ShiftRight<6>(hn::MulHigh(sum, thousandth));
    // What is left is below 1000, and so its low 16 bits tell whether it is 0.
    const auto low = hn::Add(hn::ShiftLeft<3>(eighths), ones);
    exact = hn::Eq(low, hn::Mul(quotient, thousand));
    return quotient;
  }
};

/// The levels that a gray pixel of that level, whose sum is a multiple of 1000, falls below: by the
/// top bit and the low four ones, a bit for each value of the three between.
struct LoweredLevels {
  HWY_ALIGN std::uint8_t byLow[2][16] = {}, bits[16] = {};

  constexpr LoweredLevels() {
    for (std::uint8_t i = 0; i < 16; ++i) bits[i] = static_cast<std::uint8_t>(1 << i % 8);
    for (unsigned level = 0; level < 256; ++level) {
      const auto v = static_cast<std::uint8_t>(level);
      if (GrayLevel(v, v, v) != v) byLow[v / 128][v % 16] |= bits[v / 16];
    }
  }
};
constexpr LoweredLevels kLoweredLevels;

hn::Mask<Bytes> IsLowered(hn::Vec<Bytes> level) {
  const Bytes d;
  const auto low = hn::And(level, hn::Set(d, 15)), high = hn::ShiftRight<4>(level);
  const auto dark = hn::TableLookupBytes(hn::LoadDup128(d, kLoweredLevels.byLow[0]), low),
             bright = hn::TableLookupBytes(hn::LoadDup128(d, kLoweredLevels.byLow[1]), low);
  return hn::TestBit(hn::IfThenElse(hn::TestBit(level, hn::Set(d, 128)), bright, dark),
                     hn::TableLookupBytes(hn::LoadDup128(d, kLoweredLevels.bits), high));
}

/// Stores the levels of pixels of which some have a multiple of 1000 as their sum.
void StoreSettled(hn::Vec<Bytes> blue, hn::Vec<Bytes> green, hn::Vec<Bytes> red,
                  hn::Mask<Words> evenExact, hn::Mask<Words> oddExact, hn::Vec<Bytes> levels,
                  const std::uint8_t* pixel, std::uint8_t* level) {
  const Bytes d;
  const auto neutral = hn::And(hn::Eq(blue, green), hn::Eq(green, red));
  const auto lowered = hn::VecFromMask(d, hn::And(neutral, IsLowered(blue)));
  hn::StoreU(hn::Add(levels, lowered), d, level);
  if (hn::AllTrue(d, neutral)) return;
  std::uint64_t others = 0;
  const auto exact =
      Together(hn::VecFromMask(Words(), evenExact), hn::VecFromMask(Words(), oddExact));
  hn::StoreMaskBits(d, hn::AndNot(neutral, hn::MaskFromVec(exact)),
                    reinterpret_cast<std::uint8_t*>(&others));
  for (; others != 0; others &= others - 1) {
    const std::ptrdiff_t i = std::countr_zero(others);
    level[i] = GrayLevel(pixel[3 * i], pixel[3 * i + 1], pixel[3 * i + 2]);
  }
}

void BgrToGray(ConstImageView bgr, ImageView gray) {
  const Bytes d;
  const Words words;
  const Divider divide = {hn::Set(words, kFactors.blue), hn::Set(words, kFactors.green),
                          hn::Set(words, kFactors.red), hn::Set(words, kFactors.thousandth),
                          hn::Set(words, kFactors.thousand)};
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
  const std::uint8_t* const pixelsEnd = bgr.Row(bgr.height);
  for (std::int32_t y = 0; y < bgr.height; ++y) {
    const std::uint8_t* pixel = bgr.Row(y);
    std::uint8_t* level = gray.Row(y);
    const std::uint8_t* const end = level + bgr.width;
    for (; end - level >= lanes; level += lanes, pixel += 3 * lanes) {
      auto blue = hn::Zero(d), green = blue, red = blue;
      for (std::ptrdiff_t i = 0; i < 3; ++i)
        hwy::Prefetch(pixel + std::min(kAhead + i * lanes, pixelsEnd - pixel));
      LoadPlanes(d, pixel, blue, green, red);
      auto evenExact = hn::FirstN(words, 0), oddExact = evenExact;
      const auto evens = divide(Even(blue), Even(green), Even(red), evenExact);
      const auto odds = divide(Odd(blue), Odd(green), Odd(red), oddExact);
      const auto levels = Together(evens, odds);
      // Rounded sums are off by less than 2^-40, so that whole parts differ only where the sum is a
      // whole number: there it may come out below.
      if (hn::AllFalse(words, hn::Or(evenExact, oddExact)))
        hn::StoreU(levels, d, level);
      else
        StoreSettled(blue, green, red, evenExact, oddExact, levels, pixel, level);
    }
    for (; level < end; ++level, pixel += 3) *level = GrayLevel(pixel[0], pixel[1], pixel[2]);
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
