#include "geometry/gray.h"

#include <algorithm>
#include <bit>
#include <type_traits>

#include <hwy/cache_control.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geometry/gray.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

#include "simd/even_odd-inl.h"
#include "simd/planes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
using Words = hn::Repartition<std::uint16_t, Bytes>;
using Byte = hn::Vec<Bytes>;
using Word = hn::Vec<Words>;

/// How far ahead rows are fetched into the near cache.
constexpr std::ptrdiff_t kAhead = 8192;

/// The compiler would take products by constants apart into more work, and so these are none.
const volatile struct {
  std::uint16_t blue = 14, green = 73, red = 37, thousandth = 33555, thousand = 1000;
} kFactors;
struct Factors {
  Word blue, green, red, thousandth, thousand;

  HWY_INLINE Factors()
      : blue(hn::Set(Words(), kFactors.blue)),
        green(hn::Set(Words(), kFactors.green)),
        red(hn::Set(Words(), kFactors.red)),
        thousandth(hn::Set(Words(), kFactors.thousandth)),
        thousand(hn::Set(Words(), kFactors.thousand)) {}
};

/// 587 * green + 114 * blue + 299 * red, as 8 * eighths + ones.
struct Sums {
  Word eighths, ones;
};

/// A mask of bytes from those of two halves.
template <class Group>
HWY_INLINE hn::Mask<Bytes> JoinMasks(hn::Mask<Words> half0, hn::Mask<Words> half1) {
  const Words d;
  return hn::MaskFromVec(Group::Join(hn::VecFromMask(d, half0), hn::VecFromMask(d, half1)));
}

/// As many pixels as a vector has bytes, in planes. Half 0 are the even ones, half 1 the odd ones.
struct Planes {
  Byte blue = hn::Zero(Bytes()), green = blue, red = blue;

  HWY_INLINE explicit Planes(const std::uint8_t* pixels) {
    LoadPlanes(Bytes(), pixels, blue, green, red);
  }

  HWY_INLINE Sums Weigh(std::size_t half, const Factors& factors) const {
    const Word b = half == 0 ? Even(blue) : Odd(blue), g = half == 0 ? Even(green) : Odd(green),
               r = half == 0 ? Even(red) : Odd(red);
    const Word greenAndRed = hn::Add(g, r), twice = hn::Add(greenAndRed, b);
    return {hn::Add(hn::Add(hn::Mul(g, factors.green), hn::Mul(b, factors.blue)),
                    hn::Mul(r, factors.red)),
            hn::Add(hn::Add(twice, twice), greenAndRed)};
  }

  HWY_INLINE hn::Mask<Bytes> AreNeutral() const {
    return hn::And(hn::Eq(blue, green), hn::Eq(green, red));
  }

  HWY_INLINE bool AreAllNeutral() const { return hn::AllTrue(Bytes(), AreNeutral()); }

  HWY_INLINE Byte Blue() const { return blue; }

  /// The low bytes of two halves.
  static HWY_INLINE Byte Join(Word evens, Word odds) {
    return hn::BitCast(Bytes(),
                       hn::Or(hn::And(evens, hn::Set(Words(), 0xFF)), hn::ShiftLeft<8>(odds)));
  }
};

/// Where the bytes of half a vector of pixels lie, from the first of two vectors that overlap by
/// half of it, and where those of two halves that are to be joined.
struct PairPlaces {
  HWY_ALIGN std::uint8_t blueGreen[64] = {}, redBlue[64] = {}, joined[64] = {};

  constexpr PairPlaces() {
    const auto place = [](std::size_t byte) {
      return static_cast<std::uint8_t>(byte < 64 ? byte : byte + 32);
    };
    for (std::size_t i = 0; i < 32; ++i) {
      blueGreen[2 * i] = redBlue[2 * i + 1] = place(3 * i);
      blueGreen[2 * i + 1] = place(3 * i + 1);
      redBlue[2 * i] = place(3 * i + 2);
    }
    for (std::size_t i = 0; i < 64; ++i) joined[i] = static_cast<std::uint8_t>(2 * i);
  }
};
constexpr PairPlaces kPairPlaces;

/// The same in pairs of bytes, where they can be multiplied. Half 0 are the pixels of the lower
/// half.
struct Pairs {
  Byte blueGreen[2], redBlue[2];

  HWY_INLINE explicit Pairs(const std::uint8_t* pixels) {
    const Bytes d;
    for (std::size_t half = 0; half < 2; ++half) {
      const Byte low = hn::LoadU(d, pixels + 96 * half),
                 high = hn::LoadU(d, pixels + 96 * half + 32);
      blueGreen[half] = PermutePair(low, high, hn::Load(d, kPairPlaces.blueGreen));
      redBlue[half] = PermutePair(low, high, hn::Load(d, kPairPlaces.redBlue));
    }
  }

  HWY_INLINE Sums Weigh(std::size_t half, const Factors& /*factors*/) const {
    return {hn::Add(Times(blueGreen[half], 14, 73), Times(redBlue[half], 37, 0)),
            hn::Add(Times(blueGreen[half], 2, 3), Times(redBlue[half], 3, 0))};
  }

  HWY_INLINE hn::Mask<Bytes> AreNeutral() const {
    return JoinMasks<Pairs>(AreNeutral(0), AreNeutral(1));
  }
  HWY_INLINE bool AreAllNeutral() const {
    return hn::AllTrue(Words(), hn::And(AreNeutral(0), AreNeutral(1)));
  }

  HWY_INLINE Byte Blue() const {
    return Join(hn::BitCast(Words(), blueGreen[0]), hn::BitCast(Words(), blueGreen[1]));
  }

  static HWY_INLINE Byte Join(Word lower, Word upper) {
    const Bytes d;
    return PermutePair(hn::BitCast(d, lower), hn::BitCast(d, upper),
                       hn::Load(d, kPairPlaces.joined));
  }

 private:
  HWY_INLINE hn::Mask<Words> AreNeutral(std::size_t half) const {
    return hn::Eq(hn::BitCast(Words(), blueGreen[half]), hn::BitCast(Words(), redBlue[half]));
  }

  static HWY_INLINE Word Times(Byte pairs, int first, int second) {
    const auto factors = hn::Set(Words(), static_cast<std::uint16_t>(first + 256 * second));
    return MultiplyPairs(pairs, hn::BitCast(Bytes(), factors));
  }
};

using Group = std::conditional_t<kHasBytePairs, Pairs, Planes>;

/// The sum by 1000, rounded down; `exact` tells where it is a multiple of 1000.
HWY_INLINE Word Divide(const Sums& sums, const Factors& factors, hn::Mask<Words>& exact) {
  // The quotient is that of sum >> 3, which is at most 31875, by 125. 125 * 33555 = 2^22 + 71, and
  // 31875 * 71 < 2^22.
  const Word eighths = hn::Add(sums.eighths, hn::ShiftRight<3>(sums.ones));
  const Word quotient = hn::ShiftRight<6>(hn::MulHigh(eighths, factors.thousandth));
  // What is left is below 1000, and so its low 16 bits tell whether it is 0.
  const Word low = hn::Add(hn::ShiftLeft<3>(sums.eighths), sums.ones);
  exact = hn::Eq(low, hn::Mul(quotient, factors.thousand));
  return quotient;
}

/// The levels that a neutral pixel of that level, whose sum is a multiple of 1000, falls below: by
/// the top bit and the low four ones, a bit for each value of the three between.
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

/// The levels that neutral pixels get, from those they have. Those of others stay as they are.
HWY_INLINE Byte Lower(Byte levels, hn::Mask<Bytes> neutral) {
  const Bytes d;
  const Byte low = hn::And(levels, hn::Set(d, 15)), high = hn::ShiftRight<4>(levels);
  const Byte dark = hn::TableLookupBytes(hn::LoadDup128(d, kLoweredLevels.byLow[0]), low),
             bright = hn::TableLookupBytes(hn::LoadDup128(d, kLoweredLevels.byLow[1]), low);
  const auto lowered =
      hn::TestBit(hn::IfThenElse(hn::TestBit(levels, hn::Set(d, 128)), bright, dark),
                  hn::TableLookupBytes(hn::LoadDup128(d, kLoweredLevels.bits), high));
  return hn::Add(levels, hn::VecFromMask(d, hn::And(neutral, lowered)));
}

/// The levels of a group at `pixel` with pixels that are `exact`. Rounded sums are off by less than
/// 2^-40, and so their whole parts differ from the quotients only where the sum is a whole number:
/// there it may come out below.
HWY_INLINE void StoreSettled(const Group& group, Byte quotients, hn::Mask<Bytes> exact,
                             const std::uint8_t* pixel, std::uint8_t* level) {
  const Bytes d;
  const hn::Mask<Bytes> neutral = group.AreNeutral();
  hn::StoreU(Lower(quotients, neutral), d, level);
  std::uint64_t others = 0;
  hn::StoreMaskBits(d, hn::AndNot(neutral, exact), reinterpret_cast<std::uint8_t*>(&others));
  for (; others != 0; others &= others - 1) {
    const std::ptrdiff_t i = std::countr_zero(others);
    level[i] = GrayLevel(pixel[3 * i], pixel[3 * i + 1], pixel[3 * i + 2]);
  }
}

/// The levels of as many pixels as a vector has bytes.
HWY_INLINE void StoreLevels(const std::uint8_t* pixel, const Factors& factors,
                            std::uint8_t* level) {
  const Bytes d;
  const Group group(pixel);
  if (group.AreAllNeutral()) {
    hn::StoreU(Lower(group.Blue(), hn::FirstN(d, hn::Lanes(d))), d, level);
    return;
  }
  hn::Mask<Words> exact[2];
  const Word halves[] = {Divide(group.Weigh(0, factors), factors, exact[0]),
                         Divide(group.Weigh(1, factors), factors, exact[1])};
  const Byte quotients = Group::Join(halves[0], halves[1]);
  if (hn::AllFalse(Words(), hn::Or(exact[0], exact[1])))
    hn::StoreU(quotients, d, level);
  else
    StoreSettled(group, quotients, JoinMasks<Group>(exact[0], exact[1]), pixel, level);
}

void BgrToGray(ConstImageView bgr, ImageView gray) {
  const Factors factors;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(Bytes()));
  const std::uint8_t* const pixelsEnd = bgr.Row(bgr.height);
  for (std::int32_t y = 0; y < bgr.height; ++y) {
    const std::uint8_t* pixels = bgr.Row(y);
    std::uint8_t* levels = gray.Row(y);
    if (bgr.width < lanes) {
      for (std::int32_t x = 0; x < bgr.width; ++x, pixels += 3)
        levels[x] = GrayLevel(pixels[0], pixels[1], pixels[2]);
      continue;
    }
    for (std::ptrdiff_t next = 0; next < bgr.width; next += lanes) {
      // The last vector of a row may overlap the one before.
      const std::ptrdiff_t x = std::min(next, bgr.width - lanes);
      const std::uint8_t* pixel = pixels + 3 * x;
      for (std::ptrdiff_t i = 0; i < 3; ++i)
        hwy::Prefetch(pixel + std::min(kAhead + i * lanes, pixelsEnd - pixel));
      StoreLevels(pixel, factors, levels + x);
    }
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
