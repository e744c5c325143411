// Pixels are convolved by whole numbers where that gives the definition's bytes. Factors are
// entries times a power of two, rounded to 16 bits; ConvolvePlan says how far off their sums may
// be. Where both ends of that range round to the same byte, it is the one. Else what rounding took
// from the factors is multiplied, too, and where even that leaves a byte of a vector open, its sums
// are made afresh as defined.
//
// 16-bit factors are multiplied two rows of the template at a time: an element holds the bytes of
// two rows above each other, the lower row's in its low half, and the factors are paired alike. A
// ring holds the elements of as many rows as the template has, those of a strip of columns and of
// what lies beside it.
//
//     row y + 2    d0 d1 d2 ...      ring, of a template of 3 rows, at row y + 1:
//     row y + 1    c0 c1 c2 ...        y      b0 c0   b1 c1   b2 c2 ...   times factors 0 and 1
//     row y        b0 b1 b2 ...        y + 1  c0 d0   c1 d1   c2 d2 ...
//                                      y + 2  d0 e0   d1 e1   d2 e2 ...   times factors 2 and zero
#include "filter/convolve.h"

#include <algorithm>
#include <cstring>

#include "filter/convolve_plan.h"
#include "pixels/allocate_array.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/convolve.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Sums = hn::ScalableTag<std::int32_t>;
using Factors = hn::Repartition<std::int16_t, Sums>;
using SumBytes = hn::Rebind<std::uint8_t, Sums>;
using Doubles = hn::ScalableTag<double>;
using Sum = hn::Vec<Sums>;

constexpr std::ptrdiff_t kVectors = 4;  // made at once

class ConvolvedStrip {
 public:
  /// `count` bytes of each row from byte `first` on.
  ConvolvedStrip(ConstImageView source, const ConvolvePlan& plan, std::ptrdiff_t first,
                 std::ptrdiff_t count, std::int32_t* ring)
      : source_(source),
        plan_(plan),
        pitch_(RingPitch(source.width, plan)),
        first_(first),
        count_(count),
        ring_(ring) {}

  void Convolve(ImageView target) {
    const std::ptrdiff_t half = plan_.size / 2;
    for (std::ptrdiff_t row = -half; row < half; ++row) LoadRow(row);
    for (std::int32_t y = 0; y < source_.height; ++y) {
      LoadRow(y + half);
      lowest_ = y % plan_.size;
      WriteRow(target.Row(y) + first_);
    }
  }

 private:
  const std::uint8_t* SourceRow(std::ptrdiff_t row) const {
    return source_.Row(
        static_cast<std::int32_t>(std::clamp<std::ptrdiff_t>(row, 0, source_.height - 1)));
  }

  /// Pairs the bytes of a row with those of the row above it.
  void LoadRow(std::ptrdiff_t row) {
    const Sums d32;
    const SumBytes d8;
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d32));
    const std::uint8_t *lower = SourceRow(row), *upper = SourceRow(row + 1);
    const std::ptrdiff_t pixel = plan_.pixelBytes, rowBytes = source_.width * pixel,
                         beside = plan_.size / 2 * pixel;
    const std::ptrdiff_t start = first_ - beside, end = first_ + count_ + beside,
                         inside = std::max<std::ptrdiff_t>(start, 0),
                         outside = std::min(end, rowBytes);
    std::int32_t* elements = ring_ + (row + plan_.size / 2) % plan_.size * pitch_;
    const auto pair = [=](std::ptrdiff_t to, std::ptrdiff_t from) {
      elements[to - start] = lower[from] | upper[from] << 16;
    };
    for (std::ptrdiff_t i = start; i < inside; ++i) pair(i, (i + beside) % pixel);
    std::ptrdiff_t i = inside;
    for (; i + lanes <= outside; i += lanes) {
      const auto low = hn::PromoteTo(d32, hn::LoadU(d8, lower + i)),
                 high = hn::PromoteTo(d32, hn::LoadU(d8, upper + i));
      hn::StoreU(hn::Or(low, hn::ShiftLeft<16>(high)), d32, elements + i - start);
    }
    for (; i < outside; ++i) pair(i, i);
    for (i = outside; i < end; ++i) pair(i, rowBytes - pixel + (i - outside) % pixel);
  }

  /// The elements that row `row` of the template meets.
  HWY_INLINE const std::int32_t* Elements(std::ptrdiff_t row) const {
    const std::ptrdiff_t slot = lowest_ + row;
    return ring_ + (slot < plan_.size ? slot : slot - plan_.size) * pitch_;
  }

  void WriteRow(std::uint8_t* bytes) const {
    const auto step = static_cast<std::ptrdiff_t>(hn::Lanes(Sums())) * kVectors;
    std::ptrdiff_t x = 0;
    for (; x + step <= count_; x += step) WriteVectors(x, bytes + x);
    if (x == count_) return;
    HWY_ALIGN std::uint8_t last[HWY_MAX_BYTES];
    WriteVectors(x, last);
    std::memcpy(bytes + x, last, static_cast<std::size_t>(count_ - x));
  }

  HWY_INLINE void WriteVectors(std::ptrdiff_t x, std::uint8_t* bytes) const {
    const Sums d32;
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d32));
    if (!plan_.isFixedPoint) {
      for (std::ptrdiff_t v = 0; v < kVectors; ++v)
        WriteAsDefined(x + v * lanes, bytes + v * lanes);
      return;
    }
    Sum least[kVectors];
    AddProducts(plan_.factorPairs, x, plan_.Half() - plan_.tooLarge, least);
    const auto range = hn::Set(d32, plan_.tooLarge + plan_.tooSmall);
    Levels lowest[kVectors], highest[kVectors];
    for (std::ptrdiff_t v = 0; v < kVectors; ++v) {
      lowest[v] = Round(least[v]);
      highest[v] = Round(hn::Add(least[v], range));
    }
    for (std::ptrdiff_t v = 0; v < kVectors; ++v) {
      hn::StoreU(lowest[v], SumBytes(), bytes + v * lanes);
      if (!AreSame(lowest[v], highest[v])) WriteFinely(x + v * lanes, least[v], bytes + v * lanes);
    }
  }

  using Levels = hn::Vec<SumBytes>;
  /// DemoteTo takes some numbers above 2^15 for others.
  HWY_INLINE Levels Round(Sum sums) const {
    return hn::DemoteTo(
        SumBytes(), hn::Min(hn::ShiftRightSame(sums, plan_.fractionBits), hn::Set(Sums(), 255)));
  }
  static HWY_INLINE bool AreSame(Levels a, Levels b) {
    return hn::AllTrue(SumBytes(), hn::Eq(a, b));
  }

  /// The sums of `start` and products, in vectors from element x on.
  template <std::ptrdiff_t kCount>
  HWY_INLINE void AddProducts(const std::vector<std::int32_t>& factorPairs, std::ptrdiff_t x,
                              std::int32_t start, Sum (&sums)[kCount]) const {
    const Sums d32;
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d32));
    Sum rest[kCount];
    for (std::ptrdiff_t v = 0; v < kCount; ++v) sums[v] = rest[v] = hn::Zero(d32);
    const std::int32_t* factorPair = factorPairs.data();
    for (std::ptrdiff_t row = 0; row < plan_.size; row += 2) {
      const std::int32_t* elements = Elements(row) + x;
      for (std::ptrdiff_t i = 0; i < plan_.size; ++i, elements += plan_.pixelBytes) {
        const auto factors = hn::BitCast(Factors(), hn::Set(d32, *factorPair++));
        for (std::ptrdiff_t v = 0; v < kCount; ++v)
          sums[v] = hn::ReorderWidenMulAccumulate(
              d32, hn::BitCast(Factors(), hn::LoadU(d32, elements + v * lanes)), factors, sums[v],
              rest[v]);
      }
    }
    for (std::ptrdiff_t v = 0; v < kCount; ++v)
      sums[v] = hn::Add(hn::RearrangeToOddPlusEven(sums[v], rest[v]), hn::Set(d32, start));
  }

  /// Writes the bytes of a vector of sums that are at least `least`, by way of what rounding took
  /// from the factors.
  HWY_NOINLINE void WriteFinely(std::ptrdiff_t x, Sum least, std::uint8_t* bytes) const {
    const Sums d32;
    if (plan_.finePairs.empty()) return WriteAsDefined(x, bytes);
    Sum fine[1];
    AddProducts(plan_.finePairs, x, 0, fine);
    const auto sum =
        hn::Add(hn::Add(least, hn::Set(d32, plan_.tooLarge)), hn::ShiftRight<kFineBits>(fine[0]));
    const auto error = hn::Set(d32, kFineError);
    const Levels levels = Round(hn::Sub(sum, error));
    hn::StoreU(levels, SumBytes(), bytes);
    if (!AreSame(levels, Round(hn::Add(sum, error)))) WriteAsDefined(x, bytes);
  }

  /// Writes as many bytes as there are sums in a vector, as defined.
  HWY_NOINLINE void WriteAsDefined(std::ptrdiff_t x, std::uint8_t* bytes) const {
    const Doubles df;
    const hn::Rebind<std::int32_t, Doubles> d32;
    const hn::Rebind<std::uint8_t, Doubles> d8;
    for (std::size_t i = 0; i < hn::Lanes(Sums()); i += hn::Lanes(df)) {
      auto sum = hn::Zero(df);
      const double* entry = plan_.entries.data();
      for (std::ptrdiff_t row = 0; row < plan_.size; ++row) {
        const std::int32_t* elements = Elements(row) + x + i;
        for (std::ptrdiff_t a = 0; a < plan_.size; ++a, elements += plan_.pixelBytes) {
          const auto levels = hn::And(hn::LoadU(d32, elements), hn::Set(d32, 255));
          sum = hn::Add(sum, hn::Mul(hn::Set(df, *entry++), hn::PromoteTo(df, levels)));
        }
      }
      // What is no number is not above 0. A half would round the double below itself up to 1.
      const auto half = hn::Set(df, 0x1.FFFFFFFFFFFFFp-2);
      const auto limited =
          hn::Min(hn::IfThenElseZero(hn::Gt(sum, hn::Zero(df)), sum), hn::Set(df, 255.0));
      hn::StoreU(hn::DemoteTo(d8, hn::DemoteTo(d32, hn::Add(limited, half))), d8, bytes + i);
    }
  }

  ConstImageView source_;
  const ConvolvePlan& plan_;
  std::ptrdiff_t pitch_, first_, count_, lowest_ = 0;
  std::int32_t* ring_;
};

void ConvolveStrips(ConstImageView source, const ConvolvePlan& plan, std::int32_t* ring,
                    ImageView target) {
  const std::ptrdiff_t rowBytes = source.width * plan.pixelBytes;
  for (std::ptrdiff_t first = 0; first < rowBytes; first += kConvolvedStripBytes)
    ConvolvedStrip(source, plan, first, std::min(kConvolvedStripBytes, rowBytes - first), ring)
        .Convolve(target);
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(ConvolveStrips);

void Convolve(ConstImageView source, int pixelBytes, std::span<const double> entries, int size,
              ImageView target) {
  if (source.width == 0 || source.height == 0) return;
  const ConvolvePlan plan = PlanConvolve(entries, size, pixelBytes);
  const auto elements = static_cast<std::size_t>(plan.size * RingPitch(source.width, plan));
  const auto ring = AllocateArray<std::int32_t>(elements);
  std::fill_n(ring.get(), elements, 0);  // vectors may reach behind what is loaded
  HWY_DYNAMIC_DISPATCH(ConvolveStrips)(source, plan, ring.get(), target);
}

}  // namespace rastelo

#endif  // HWY_ONCE
