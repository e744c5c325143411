// Target rows are made one at a time, planes apart. First the source rows that a target row covers
// are added up, each times its weight. Then columns are: with P(i) the sum of the first i of these
// sums, the units up to the start of target pixel o hold
//     F(o) = P(i) * W' + sum(i) * r,  o * W = i * W' + r,  0 <= r < W',
// and the target pixel holds F(o + 1) - F(o). Both wrap, which their difference survives. Sides are
// first divided by what they have in common. Sums take as few bits as hold the largest.
#include "geometry/shrink.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <vector>

#include "geometry/shrink_plan.h"
#include "pixels/allocate_array.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geometry/shrink.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

#include "simd/even_odd-inl.h"
#include "simd/planes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
using Byte = hn::Vec<Bytes>;

/// Rows that are added up at once, times their weights.
constexpr std::size_t kMostRows = 4;
struct WeighedRows {
  const std::uint8_t* rows[kMostRows];
  std::uint32_t weights[kMostRows];
  std::size_t count = 0;
};

/// Adds rows to `sums`, or writes their sum there. A plain loop, vectorised by the compiler.
template <std::size_t kRows, bool kIsFirst, class Sum>
void AddSome(const WeighedRows& weighed, std::size_t count, Sum* HWY_RESTRICT sums) {
  const std::uint8_t* HWY_RESTRICT rows[kRows];
  Sum weights[kRows];
  for (std::size_t i = 0; i < kRows; ++i) {
    rows[i] = weighed.rows[i];
    weights[i] = static_cast<Sum>(weighed.weights[i]);
  }
  for (std::size_t x = 0; x < count; ++x) {
    Sum sum = kIsFirst ? Sum{0} : sums[x];
    for (std::size_t i = 0; i < kRows; ++i) sum = static_cast<Sum>(sum + rows[i][x] * weights[i]);
    sums[x] = sum;
  }
}

template <bool kIsFirst, class Sum>
void AddRows(const WeighedRows& weighed, std::size_t count, Sum* sums) {
  switch (weighed.count) {
    case 1:
      return AddSome<1, kIsFirst>(weighed, count, sums);
    case 2:
      return AddSome<2, kIsFirst>(weighed, count, sums);
    case 3:
      return AddSome<3, kIsFirst>(weighed, count, sums);
    default:
      return AddSome<4, kIsFirst>(weighed, count, sums);
  }
}

/// Splits a row of colours into planes, or joins them. The last vector may overlap the one before.
void SplitRow(const std::uint8_t* pixels, std::size_t width, std::uint8_t* const (&planes)[3]) {
  const Bytes d8;
  const std::size_t lanes = hn::Lanes(d8);
  for (std::size_t i = 0; width < lanes && i < 3 * width; ++i) planes[i % 3][i / 3] = pixels[i];
  for (std::size_t next = 0; width >= lanes && next < width; next += lanes) {
    const std::size_t x = std::min(next, width - lanes);
    auto blue = hn::Zero(d8), green = blue, red = blue;
    LoadPlanes(d8, pixels + 3 * x, blue, green, red);
    hn::StoreU(blue, d8, planes[0] + x);
    hn::StoreU(green, d8, planes[1] + x);
    hn::StoreU(red, d8, planes[2] + x);
  }
}

void JoinRow(const std::uint8_t* const (&planes)[3], std::size_t width, std::uint8_t* pixels) {
  const Bytes d8;
  const std::size_t lanes = hn::Lanes(d8);
  for (std::size_t i = 0; width < lanes && i < 3 * width; ++i) pixels[i] = planes[i % 3][i / 3];
  for (std::size_t next = 0; width >= lanes && next < width; next += lanes) {
    const std::size_t x = std::min(next, width - lanes);
    StorePlanes(d8, hn::LoadU(d8, planes[0] + x), hn::LoadU(d8, planes[1] + x),
                hn::LoadU(d8, planes[2] + x), pixels + 3 * x);
  }
}

/// Adds each two neighbours of 2 * `count` sums. Both arrays hold whole vectors, and may be the
/// same.
inline void AddNeighbours(const std::uint16_t* sums, std::size_t count, std::uint32_t* pairs) {
  const hn::ScalableTag<std::uint32_t> d32;
  const hn::Repartition<std::uint16_t, decltype(d32)> d16;
  for (std::size_t i = 0; i < count; i += hn::Lanes(d32)) {
    const auto both = hn::Load(d16, sums + 2 * i);
    hn::Store(hn::Add(Even(both), Odd(both)), d32, pairs + i);
  }
}

inline void AddNeighbours(const std::uint32_t* sums, std::size_t count, std::uint32_t* pairs) {
  const hn::ScalableTag<std::uint32_t> d32;
  for (std::size_t i = 0; i < count; i += hn::Lanes(d32)) {
    const auto low = hn::Load(d32, sums + 2 * i),
               high = hn::Load(d32, sums + 2 * i + hn::Lanes(d32));
    hn::Store(hn::Add(hn::ConcatEven(d32, high, low), hn::ConcatOdd(d32, high, low)), d32,
              pairs + i);
  }
}

/// Writes the means of sums of an area of up to 4096, in single precision: (2 sum + area) / (2
/// area) rounded down. A quarter more, sum + area / 2 + 1/4, takes no quotient up to the next whole
/// number, for that is at least 1 / (2 area) away, and keeps roundings from taking a whole one
/// down. The quotient is off by at most 2^-15, the quarter makes 2^-14 at least, and all else is
/// exact.
constexpr std::int64_t kSmallArea = 4096;
inline void DivideBySmallArea(const std::uint32_t* sums, std::size_t count, std::int64_t area,
                              std::uint8_t* means) {
  const hn::ScalableTag<float> df;
  const hn::RebindToSigned<decltype(df)> d32;
  const hn::Rebind<std::uint8_t, decltype(df)> d8;
  const auto offset = hn::Set(df, static_cast<float>(area) / 2 + 0.25F),
             factor = hn::Set(df, 1 / static_cast<float>(area));
  for (std::size_t i = 0; i < count; i += hn::Lanes(df)) {
    const auto sum = hn::ConvertTo(
        df, hn::BitCast(d32, hn::Load(hn::RebindToUnsigned<decltype(df)>(), sums + i)));
    const auto mean = hn::Mul(hn::Add(sum, offset), factor);
    hn::StoreU(hn::DemoteTo(d8, hn::ConvertTo(d32, mean)), d8, means + i);
  }
}

/// The same in double precision, for areas of up to 2^31. Put behind the bits of 2^52, those of a
/// sum below 2^40 make the double 2^52 + sum.
template <class Sum>
void DivideByArea(const Sum* sums, std::size_t count, std::int64_t area, std::uint8_t* means) {
  const hn::ScalableTag<double> df;
  const hn::Rebind<std::uint64_t, decltype(df)> d64;
  const hn::Rebind<std::int32_t, decltype(df)> d32;
  const hn::Rebind<std::uint8_t, decltype(df)> d8;
  const auto base = hn::Set(df, 0x1p52), offset = hn::Set(df, static_cast<double>(area) / 2 + 0.25),
             factor = hn::Set(df, 1 / static_cast<double>(area));
  for (std::size_t i = 0; i < count; i += hn::Lanes(df)) {
    auto bits = hn::Zero(d64);
    if constexpr (sizeof(Sum) == 8)
      bits = hn::Load(d64, sums + i);
    else
      bits = hn::PromoteTo(d64, hn::Load(hn::Rebind<Sum, decltype(df)>(), sums + i));
    const auto sum = hn::Sub(hn::BitCast(df, hn::Or(bits, hn::BitCast(d64, base))), base);
    const auto mean = hn::Mul(hn::Add(sum, offset), factor);
    hn::StoreU(hn::DemoteTo(d8, hn::DemoteTo(d32, mean)), d8, means + i);
  }
}

/// The means of each 2 x 2 of two rows, of two vectors of either.
HWY_INLINE Byte MeansOfFour(Byte lower0, Byte lower1, Byte upper0, Byte upper1) {
  const auto mean = [](Byte lower, Byte upper) HWY_ATTR {
    const auto sum = hn::Add(hn::Add(Even(lower), Odd(lower)), hn::Add(Even(upper), Odd(upper)));
    const auto two = hn::Set(hn::DFromV<decltype(sum)>(), 2);
    return hn::BitCast(Bytes(), hn::ShiftRight<2>(hn::Add(sum, two)));
  };
  return hn::ConcatEven(Bytes(), mean(lower1, upper1), mean(lower0, upper0));
}

HWY_INLINE void HalveVector(const std::uint8_t* lower, const std::uint8_t* upper,
                            std::uint8_t* means) {
  const Bytes d8;
  const std::size_t lanes = hn::Lanes(d8);
  hn::StoreU(MeansOfFour(hn::LoadU(d8, lower), hn::LoadU(d8, lower + lanes), hn::LoadU(d8, upper),
                         hn::LoadU(d8, upper + lanes)),
             d8, means);
}

HWY_INLINE void HalveColours(const std::uint8_t* lower, const std::uint8_t* upper,
                             std::uint8_t* means) {
  const Bytes d8;
  const std::size_t bytes = 3 * hn::Lanes(d8);
  Byte blue[4], green[4], red[4];
  LoadPlanes(d8, lower, blue[0], green[0], red[0]);
  LoadPlanes(d8, lower + bytes, blue[1], green[1], red[1]);
  LoadPlanes(d8, upper, blue[2], green[2], red[2]);
  LoadPlanes(d8, upper + bytes, blue[3], green[3], red[3]);
  StorePlanes(d8, MeansOfFour(blue[0], blue[1], blue[2], blue[3]),
              MeansOfFour(green[0], green[1], green[2], green[3]),
              MeansOfFour(red[0], red[1], red[2], red[3]), means);
}

/// Both sides by two. The last vector of a row may overlap the one before.
void Halve(ConstImageView source, int pixelBytes, ImageView target) {
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(Bytes()));
  const std::ptrdiff_t pixel = pixelBytes, width = target.width;
  for (std::int32_t y = 0; y < target.height; ++y) {
    const std::uint8_t *lower = source.Row(2 * y), *upper = source.Row(2 * y + 1);
    std::uint8_t* means = target.Row(y);
    for (std::ptrdiff_t i = 0; width < lanes && i < width * pixel; ++i) {
      const std::ptrdiff_t left = i + i / pixel * pixel, right = left + pixel;
      const int sum = lower[left] + lower[right] + upper[left] + upper[right];
      means[i] = static_cast<std::uint8_t>((sum + 2) / 4);
    }
    for (std::ptrdiff_t next = 0; width >= lanes && next < width; next += lanes) {
      const std::ptrdiff_t x = std::min(next, width - lanes) * pixel;
      if (pixel == 1)
        HalveVector(lower + 2 * x, upper + 2 * x, means + x);
      else
        HalveColours(lower + 2 * x, upper + 2 * x, means + x);
    }
  }
}

/// Makes target rows. A RowSum holds the largest sum of a column, a Sum that of a pixel.
template <class RowSum, class Sum>
class Shrinker {
 public:
  Shrinker(ConstImageView source, int pixelBytes, const ShrinkPlan& plan)
      : source_(source),
        width_(static_cast<std::size_t>(source.width)),
        planes_(static_cast<std::size_t>(pixelBytes)),
        plan_(plan) {}

  void WriteRow(std::int32_t y, std::size_t width, std::uint8_t* target) {
    AddUpRows(y);
    for (std::size_t plane = 0; plane < planes_; ++plane)
      MakeMeans(RowSums(plane), width, Means(plane));
    if (planes_ == 1)
      std::memcpy(target, Means(0), width);
    else
      JoinRow({Means(0), Means(1), Means(2)}, width, target);
  }

 private:
  RowSum* RowSums(std::size_t plane) const {
    return static_cast<RowSum*>(plan_.rowSums) + plane * plan_.pitch;
  }
  std::uint8_t* Means(std::size_t plane) const { return plan_.means + plane * plan_.pitch; }

  void AddUpRows(std::int32_t y) {
    const auto [units, unitsOfRow] = plan_.rows;
    const std::int64_t first = y * units, end = first + units;
    WeighedRows weighed;
    bool isFirst = true;
    for (std::int64_t row = first / unitsOfRow; row * unitsOfRow < end; ++row) {
      if (weighed.count == kMostRows) {
        AddGroup(weighed, isFirst);
        isFirst = false;
        weighed.count = 0;
      }
      weighed.rows[weighed.count] = source_.Row(static_cast<std::int32_t>(row));
      weighed.weights[weighed.count++] = static_cast<std::uint32_t>(
          std::min((row + 1) * unitsOfRow, end) - std::max(row * unitsOfRow, first));
    }
    AddGroup(weighed, isFirst);
  }

  void AddGroup(const WeighedRows& weighed, bool isFirst) {
    if (planes_ == 1) return AddPlane(weighed, 0, isFirst);
    const auto split = [this](std::size_t row, std::size_t plane) {
      return plan_.splitRows + (row * 3 + plane) * plan_.pitch;
    };
    for (std::size_t i = 0; i < weighed.count; ++i)
      SplitRow(weighed.rows[i], width_, {split(i, 0), split(i, 1), split(i, 2)});
    for (std::size_t plane = 0; plane < 3; ++plane) {
      WeighedRows ofPlane = weighed;
      for (std::size_t i = 0; i < weighed.count; ++i) ofPlane.rows[i] = split(i, plane);
      AddPlane(ofPlane, plane, isFirst);
    }
  }

  void AddPlane(const WeighedRows& weighed, std::size_t plane, bool isFirst) {
    if (isFirst)
      AddRows<true>(weighed, width_, RowSums(plane));
    else
      AddRows<false>(weighed, width_, RowSums(plane));
  }

  void MakeMeans(const RowSum* rowSums, std::size_t count, std::uint8_t* means) {
    if constexpr (sizeof(Sum) == 4) {
      if (plan_.halvings > 0) {
        auto* pairs = static_cast<std::uint32_t*>(plan_.columnSums);
        AddNeighbours(rowSums, width_ / 2, pairs);
        for (int i = 1; i < plan_.halvings; ++i) AddNeighbours(pairs, width_ >> (i + 1), pairs);
        return plan_.columns.source == 1 ? Divide(pairs, count, means)
                                         : MakeBlocks(pairs, count, means);
      }
    }
    MakeBlocks(rowSums, count, means);
  }

  /// As many pixels at a time as L1 has room for.
  template <class Column>
  void MakeBlocks(const Column* columns, std::size_t count, std::uint8_t* means) {
    HWY_ALIGN Sum sums[256];
    for (std::size_t first = 0; first < count; first += std::size(sums)) {
      const std::size_t pixels = std::min(count - first, std::size(sums));
      AddUpColumns(columns, plan_.starts + first, pixels, sums);
      Divide(sums, pixels, means + first);
    }
  }

  template <class Column>
  void AddUpColumns(const Column* HWY_RESTRICT columns, const ColumnStart* HWY_RESTRICT starts,
                    std::size_t count, Sum* HWY_RESTRICT sums) {
    auto* HWY_RESTRICT before = static_cast<Sum*>(plan_.sumsBefore);
    const std::int32_t first = starts[0].column, last = starts[count].column;
    Sum sum = 0;
    for (std::int32_t x = first; x <= last; ++x) {
      before[x - first] = sum;
      sum += columns[x];
    }
    const auto unitsOfColumn = static_cast<Sum>(plan_.columns.target);
    Sum start = Sum{columns[first]} * starts[0].rest;
    for (std::size_t i = 0; i < count; ++i) {
      const auto [column, rest] = starts[i + 1];
      const Sum end = before[column - first] * unitsOfColumn + Sum{columns[column]} * rest;
      sums[i] = end - start;
      start = end;
    }
  }

  void Divide(const Sum* sums, std::size_t count, std::uint8_t* means) const {
    if constexpr (sizeof(Sum) == 4)
      if (plan_.area <= kSmallArea) return DivideBySmallArea(sums, count, plan_.area, means);
    DivideByArea(sums, count, plan_.area, means);
  }

  ConstImageView source_;
  std::size_t width_, planes_;
  const ShrinkPlan& plan_;
};

template <class RowSum, class Sum>
void MakeRows(ConstImageView source, int pixelBytes, const ShrinkPlan& plan, ImageView target) {
  Shrinker<RowSum, Sum> shrinker(source, pixelBytes, plan);
  for (std::int32_t y = 0; y < target.height; ++y)
    shrinker.WriteRow(y, static_cast<std::size_t>(target.width), target.Row(y));
}

void ShrinkRows(ConstImageView source, int pixelBytes, const ShrinkPlan& plan, ImageView target) {
  const std::int64_t largestRowSum = 255 * plan.rows.source;
  if (largestRowSum > UINT32_MAX)
    MakeRows<std::uint64_t, std::uint64_t>(source, pixelBytes, plan, target);
  else if (!FitsSmallSum(plan.area))
    MakeRows<std::uint32_t, std::uint64_t>(source, pixelBytes, plan, target);
  else if (largestRowSum > UINT16_MAX)
    MakeRows<std::uint32_t, std::uint32_t>(source, pixelBytes, plan, target);
  else
    MakeRows<std::uint16_t, std::uint32_t>(source, pixelBytes, plan, target);
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {
namespace {

ShrunkSide WithoutDivisor(std::int64_t source, std::int64_t target) {
  const std::int64_t divisor = std::gcd(source, target);
  return {source / divisor, target / divisor};
}

void AddPairsOfColumns(ShrinkPlan& plan) {
  if (plan.columns.target > 1 || !FitsSmallSum(plan.area)) return;
  for (; plan.columns.source % 2 == 0; plan.columns.source /= 2) ++plan.halvings;
}

std::vector<ColumnStart> FindStarts(const ShrunkSide& columns, std::int32_t count) {
  std::vector<ColumnStart> starts;
  starts.reserve(static_cast<std::size_t>(count) + 1);
  for (std::int64_t i = 0; i <= count; ++i) {
    const std::int64_t unit = i * columns.source;
    starts.push_back({static_cast<std::int32_t>(unit / columns.target),
                      static_cast<std::uint32_t>(unit % columns.target)});
  }
  return starts;
}

}  // namespace

HWY_EXPORT(ShrinkRows);
HWY_EXPORT(Halve);

void ShrinkByArea(ConstImageView source, int pixelBytes, ImageView target) {
  if (target.width == 0 || target.height == 0) return;
  if (source.width == 2 * std::int64_t{target.width} &&
      source.height == 2 * std::int64_t{target.height})
    return HWY_DYNAMIC_DISPATCH(Halve)(source, pixelBytes, target);
  const std::size_t planes = static_cast<std::size_t>(pixelBytes),
                    pitch = static_cast<std::size_t>(source.width) / 64 * 64 + 128;
  ShrinkPlan plan{.columns = WithoutDivisor(source.width, target.width),
                  .rows = WithoutDivisor(source.height, target.height),
                  .pitch = pitch};
  plan.area = plan.columns.source * plan.rows.source;
  AddPairsOfColumns(plan);
  const std::vector<ColumnStart> starts = FindStarts(plan.columns, target.width);
  const auto sums = AllocateArray<std::uint64_t>((planes + 2) * pitch);
  const auto bytes = AllocateArray<std::uint8_t>((planes == 1 ? 1 : 15) * pitch);
  std::fill_n(sums.get(), (planes + 2) * pitch, 0);  // columns are read up to one behind the last
  plan.starts = starts.data();
  plan.rowSums = sums.get();
  plan.columnSums = sums.get() + planes * pitch;
  plan.sumsBefore = sums.get() + (planes + 1) * pitch;
  plan.means = bytes.get();
  plan.splitRows = bytes.get() + 3 * pitch;
  HWY_DYNAMIC_DISPATCH(ShrinkRows)(source, pixelBytes, plan, target);
}

}  // namespace rastelo

#endif  // HWY_ONCE
