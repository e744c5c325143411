// Gray levels by whole numbers, to the bit what the definition gives:
//     gray = trunc((green * 0.587 + blue * 0.114) + red * 0.299), each step rounded.
//
// In thousandths the sum is the whole number S = 587 green + 114 blue + 299 red, and gray is
// S / 1000 rounded down, with one exception. The roundings move the definition's sum by less than
// 2^-40. Where S is no multiple of 1000, S / 1000 is at least 1/1000 away from every whole number,
// and the sum is truncated to the same level. Where S = 1000 q, the sum may come out just below q,
// and is then truncated to q - 1. Such pixels take their level from the definition. They are about
// one in a thousand, but all neutral pixels are among them: with blue = green = red = v, S is
// 1000 v. For these, a table holds the 16 levels v that become v - 1.
//
// S is up to 255000, but lanes have 16 bits. Each weight is split into eights and ones,
// 587 = 8 * 73 + 3, 114 = 8 * 14 + 2, 299 = 8 * 37 + 3, so that S = 8 E + O with
//     E = 73 green + 14 blue + 37 red <= 31620,
//     O =  3 green +  2 blue +  3 red <= 2040.
// N = E + O / 8, rounded down, is S / 8 rounded down, at most 31875; the level is N / 125 rounded
// down. Instead of dividing, N is multiplied by 33555 and loses its low 22 bits. As 125 * 33555 is
// 2^22 + 71, this is N / 125 + N * 71 / (125 * 2^22) rounded down. What is added is less than
// 1/125, since 31875 * 71 < 2^22, and N / 125 is at least 1/125 below the next whole number.
//
// Whether S = 1000 q is told from the low 16 bits: S - 1000 q is less than 1000.
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

/// How far ahead rows are prefetched.
constexpr std::ptrdiff_t kAhead = 8192;

/// Not constants to the compiler, which would take products by them apart into more work.
static const volatile std::uint16_t kBlue = 14, kGreen = 73, kRed = 37, kReciprocal = 33555,
                                    kThousand = 1000;
struct Factors {
  Word blue, green, red, reciprocal, thousand;
};

/// A mask of bytes from those of two halves.
template <class Group>
HWY_INLINE hn::Mask<Bytes> JoinMasks(hn::Mask<Words> half0, hn::Mask<Words> half1) {
  const Words d16;
  return hn::MaskFromVec(Group::Join(hn::VecFromMask(d16, half0), hn::VecFromMask(d16, half1)));
}

// A group is as many pixels as a vector has bytes, in two halves of 16-bit lanes. It is loaded in
// one of two layouts. Each gives E and O of a half, tells what is neutral, and joins the low bytes
// of two halves in the order of pixels.

/// Three planes. Half 0 are the even pixels, half 1 the odd ones.
class Planes {
 public:
  HWY_INLINE explicit Planes(const std::uint8_t* pixels) {
    LoadPlanes(Bytes(), pixels, blue_, green_, red_);
  }

  HWY_INLINE Word Eighths(int half, const Factors& factors) const {
    const Word greenAndBlue = hn::Add(hn::Mul(Half(half, green_), factors.green),
                                      hn::Mul(Half(half, blue_), factors.blue));
    return hn::Add(greenAndBlue, hn::Mul(Half(half, red_), factors.red));
  }
  HWY_INLINE Word Ones(int half) const {
    const Word greenAndRed = hn::Add(Half(half, green_), Half(half, red_)),
               all = hn::Add(greenAndRed, Half(half, blue_));
    return hn::Add(hn::Add(all, all), greenAndRed);
  }

  HWY_INLINE hn::Mask<Bytes> AreNeutral() const {
    return hn::And(hn::Eq(blue_, green_), hn::Eq(green_, red_));
  }
  HWY_INLINE bool AreAllNeutral() const { return hn::AllTrue(Bytes(), AreNeutral()); }
  HWY_INLINE Byte Blue() const { return blue_; }

  static HWY_INLINE Byte Join(Word evens, Word odds) {
    return hn::BitCast(Bytes(),
                       hn::Or(hn::And(evens, hn::Set(Words(), 0xFF)), hn::ShiftLeft<8>(odds)));
  }

 private:
  static HWY_INLINE Word Half(int half, Byte plane) { return half == 0 ? Even(plane) : Odd(plane); }

  Byte blue_ = hn::Zero(Bytes()), green_ = blue_, red_ = blue_;
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

/// Pairs of bytes, where these can be multiplied: blue and green, red and blue once more. Half 0
/// are the lower pixels, half 1 the upper ones.
class Pairs {
 public:
  HWY_INLINE explicit Pairs(const std::uint8_t* pixels) {
    const Bytes d8;
    for (std::size_t half = 0; half < 2; ++half) {
      const Byte low = hn::LoadU(d8, pixels + 96 * half),
                 high = hn::LoadU(d8, pixels + 96 * half + 32);
      blueGreen_[half] = PermutePair(low, high, hn::Load(d8, kPairPlaces.blueGreen));
      redBlue_[half] = PermutePair(low, high, hn::Load(d8, kPairPlaces.redBlue));
    }
  }

  HWY_INLINE Word Eighths(int half, const Factors& /*factors*/) const {
    return Weigh(half, 14, 73, 37);
  }
  HWY_INLINE Word Ones(int half) const { return Weigh(half, 2, 3, 3); }

  HWY_INLINE hn::Mask<Bytes> AreNeutral() const {
    return JoinMasks<Pairs>(AreNeutral(0), AreNeutral(1));
  }
  HWY_INLINE bool AreAllNeutral() const {
    return hn::AllTrue(Words(), hn::And(AreNeutral(0), AreNeutral(1)));
  }
  HWY_INLINE Byte Blue() const {
    return Join(hn::BitCast(Words(), blueGreen_[0]), hn::BitCast(Words(), blueGreen_[1]));
  }

  static HWY_INLINE Byte Join(Word lower, Word upper) {
    const Bytes d8;
    return PermutePair(hn::BitCast(d8, lower), hn::BitCast(d8, upper),
                       hn::Load(d8, kPairPlaces.joined));
  }

 private:
  HWY_INLINE hn::Mask<Words> AreNeutral(int half) const {
    return hn::Eq(hn::BitCast(Words(), blueGreen_[half]), hn::BitCast(Words(), redBlue_[half]));
  }

  HWY_INLINE Word Weigh(int half, int blue, int green, int red) const {
    return hn::Add(MultiplyPairs(blueGreen_[half], Repeat(blue + 256 * green)),
                   MultiplyPairs(redBlue_[half], Repeat(red)));
  }
  static HWY_INLINE Byte Repeat(int pair) {
    return hn::BitCast(Bytes(), hn::Set(Words(), static_cast<std::uint16_t>(pair)));
  }

  Byte blueGreen_[2], redBlue_[2];
};

using Group = std::conditional_t<kHasBytePairs, Pairs, Planes>;

/// S / 1000 rounded down for half a group; `exact` tells where S is a multiple of 1000.
HWY_INLINE Word Divide(const Group& group, int half, const Factors& factors,
                       hn::Mask<Words>& exact) {
  const Word eighths = group.Eighths(half, factors), ones = group.Ones(half),
             sum = hn::Add(eighths, hn::ShiftRight<3>(ones)),
             quotient = hn::ShiftRight<6>(hn::MulHigh(sum, factors.reciprocal));
  exact = hn::Eq(hn::Add(hn::ShiftLeft<3>(eighths), ones), hn::Mul(quotient, factors.thousand));
  return quotient;
}

/// The levels v that neutral pixels fall below, as a bit for each: byte v % 16 of `byLow[v / 128]`
/// has bits[v / 16] set.
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

/// Takes 1 from the levels of neutral pixels that the definition lowers.
HWY_INLINE Byte Lower(Byte levels, hn::Mask<Bytes> neutral) {
  const Bytes d8;
  const auto lookUp = [](const std::uint8_t* entries, Byte places) HWY_ATTR {
    return hn::TableLookupBytes(hn::LoadDup128(Bytes(), entries), places);
  };
  const Byte low = hn::And(levels, hn::Set(d8, 15)), high = hn::ShiftRight<4>(levels);
  const Byte byLow =
      hn::IfThenElse(hn::TestBit(levels, hn::Set(d8, 128)), lookUp(kLoweredLevels.byLow[1], low),
                     lookUp(kLoweredLevels.byLow[0], low));
  const auto lowered = hn::TestBit(byLow, lookUp(kLoweredLevels.bits, high));
  return hn::Add(levels, hn::VecFromMask(d8, hn::And(neutral, lowered)));
}

/// Stores the levels of a group with `exact` pixels: the neutral ones by the table, the others one
/// by one from the definition.
HWY_INLINE void StoreSettled(const Group& group, Byte quotients, hn::Mask<Bytes> exact,
                             const std::uint8_t* pixels, std::uint8_t* levels) {
  const Bytes d8;
  const hn::Mask<Bytes> neutral = group.AreNeutral();
  hn::StoreU(Lower(quotients, neutral), d8, levels);
  std::uint64_t others = 0;
  hn::StoreMaskBits(d8, hn::AndNot(neutral, exact), reinterpret_cast<std::uint8_t*>(&others));
  for (; others != 0; others &= others - 1) {
    const std::ptrdiff_t i = std::countr_zero(others);
    levels[i] = GrayLevel(pixels[3 * i], pixels[3 * i + 1], pixels[3 * i + 2]);
  }
}

HWY_INLINE void GroupToGray(const std::uint8_t* pixels, const Factors& factors,
                            std::uint8_t* levels) {
  const Bytes d8;
  const Group group(pixels);
  if (group.AreAllNeutral()) {
    hn::StoreU(Lower(group.Blue(), hn::FirstN(d8, hn::Lanes(d8))), d8, levels);
    return;
  }
  hn::Mask<Words> exact[2];
  const Word halves[] = {Divide(group, 0, factors, exact[0]), Divide(group, 1, factors, exact[1])};
  const Byte quotients = Group::Join(halves[0], halves[1]);
  if (hn::AllFalse(Words(), hn::Or(exact[0], exact[1])))
    hn::StoreU(quotients, d8, levels);
  else
    StoreSettled(group, quotients, JoinMasks<Group>(exact[0], exact[1]), pixels, levels);
}

void BgrToGray(ConstImageView bgr, ImageView gray) {
  const auto repeat = [](std::uint16_t factor) HWY_ATTR { return hn::Set(Words(), factor); };
  const Factors factors{repeat(kBlue), repeat(kGreen), repeat(kRed), repeat(kReciprocal),
                        repeat(kThousand)};
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(Bytes()));
  const std::uint8_t* const end = bgr.Row(bgr.height);
  for (std::int32_t y = 0; y < bgr.height; ++y) {
    const std::uint8_t* row = bgr.Row(y);
    std::uint8_t* levels = gray.Row(y);
    for (std::ptrdiff_t x = 0; bgr.width < lanes && x < bgr.width; ++x)
      levels[x] = GrayLevel(row[3 * x], row[3 * x + 1], row[3 * x + 2]);
    for (std::ptrdiff_t next = 0; bgr.width >= lanes && next < bgr.width; next += lanes) {
      // The last group of a row may overlap the one before.
      const std::ptrdiff_t x = std::min(next, bgr.width - lanes);
      const std::uint8_t* pixels = row + 3 * x;
      for (std::ptrdiff_t i = 0; i < 3; ++i)
        hwy::Prefetch(pixels + std::min(kAhead + i * lanes, end - pixels));
      GroupToGray(pixels, factors, levels + x);
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
