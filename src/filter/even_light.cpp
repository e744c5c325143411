#include "filter/even_light.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/even_light.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

#include "simd/even_odd-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using D8 = hn::ScalableTag<std::uint8_t>;
using D16 = hn::Repartition<std::uint16_t, D8>;
using D32 = hn::Repartition<std::uint32_t, D8>;

constexpr std::size_t kStrip = 512;  // columns whose sums stay in L1

std::size_t Lanes() { return hn::Lanes(D8()); }

auto IsAtMost(hn::Vec<D8> levels, std::uint8_t limit) {
  return hn::Eq(hn::Min(levels, hn::Set(D8(), limit)), levels);
}

/// A number for each column of a strip, every kStep-th column side by side.
template <class T, std::size_t kStep>
struct ColumnNumbers {
  HWY_ALIGN T of[kStep][kStrip / kStep] = {};
  T& At(std::size_t column) { return of[column % kStep][column / kStep]; }
};

struct ColumnSums : ColumnNumbers<std::uint32_t, 4> {
  /// Adds the sums of every fourth column from column, column + 1, ... on.
  void Add(std::size_t column, const hn::Vec<D32> (&sums)[4]) {
    const D32 d32;
    for (std::size_t i = 0; i < 4; ++i) {
      std::uint32_t* at = &of[i][column / 4];
      hn::Store(hn::Add(hn::Load(d32, at), sums[i]), d32, at);
    }
  }
  /// Adds the sums of every second column from column and column + 1 on.
  void Add(std::size_t column, hn::Vec<D16> even, hn::Vec<D16> odd) {
    Add(column, {Even(even), Even(odd), Odd(even), Odd(odd)});
  }
};

struct StripSums {
  ColumnSums counts, levels, squares;
};

/// Adds rows, so few that 16 bits hold their sums of levels, to the sums of a vector of columns.
HWY_INLINE void SumVector(ConstImageView rows, std::size_t column, std::uint8_t brightest,
                          StripSums& sums) {
  const D8 d8;
  auto counts = hn::Zero(d8);
  hn::Vec<D16> levels[2] = {hn::Zero(D16()), hn::Zero(D16())};
  hn::Vec<D32> squares[4] = {hn::Zero(D32()), hn::Zero(D32()), hn::Zero(D32()), hn::Zero(D32())};
  for (std::int32_t y = 0; y < rows.height; ++y) {
    const auto all = hn::LoadU(d8, rows.Row(y) + column);
    const auto isCounted = hn::VecFromMask(d8, IsAtMost(all, brightest));
    const auto counted = hn::And(isCounted, all);
    const hn::Vec<D16> level[2] = {Even(counted), Odd(counted)};
    counts = hn::Sub(counts, isCounted);
    for (std::size_t i = 0; i < 2; ++i) {
      const auto square = hn::Mul(level[i], level[i]);
      levels[i] = hn::Add(levels[i], level[i]);
      squares[i] = hn::Add(squares[i], Even(square));
      squares[i + 2] = hn::Add(squares[i + 2], Odd(square));
    }
  }
  sums.counts.Add(column, Even(counts), Odd(counts));
  sums.levels.Add(column, levels[0], levels[1]);
  sums.squares.Add(column, squares);
}

void SumColumn(ConstImageView rows, std::size_t column, std::uint8_t brightest, StripSums& sums) {
  for (std::int32_t y = 0; y < rows.height; ++y) {
    const std::uint32_t level = rows.Row(y)[column];
    if (level > brightest) continue;
    sums.counts.At(column) += 1;
    sums.levels.At(column) += level;
    sums.squares.At(column) += level * level;
  }
}

void SumRows(ConstImageView rows, std::uint8_t brightest, StripSums& sums) {
  const auto width = static_cast<std::size_t>(rows.width);
  std::size_t column = 0;
  for (; column + Lanes() <= width; column += Lanes()) SumVector(rows, column, brightest, sums);
  for (; column < width; ++column) SumColumn(rows, column, brightest, sums);
}

/// Adds up the columns of a strip, in 32 bits as long as the squares of 2^16 rows fit.
void SumStrip(ConstImageView strip, std::uint8_t brightest, std::span<ColumnLight> columns) {
  constexpr std::int32_t kRows = 65536, kRowsAtOnce = 32;
  for (std::int32_t bottom = 0; bottom < strip.height; bottom += kRows) {
    const std::int32_t end = std::min(bottom + kRows, strip.height);
    StripSums sums;
    for (std::int32_t y = bottom; y < end; y += kRowsAtOnce)
      SumRows({strip.Row(y), strip.width, std::min(kRowsAtOnce, end - y), strip.pitch}, brightest,
              sums);
    for (std::size_t i = 0; i < columns.size(); ++i) {
      columns[i].count += sums.counts.At(i);
      columns[i].sum += sums.levels.At(i);
      columns[i].squares += sums.squares.At(i);
    }
  }
}

/// Lifts the pixels of a strip. From 255 on a gain makes no difference, and so 16 bits hold all.
struct StripLift {
  StripLift(std::span<const ColumnLight> columns, std::uint8_t brightestLifted)
      : brightest(brightestLifted) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      gains.At(i) = static_cast<std::uint16_t>(std::min<std::int64_t>(columns[i].gain, 255));
      offsets.At(i) = static_cast<std::uint16_t>(columns[i].offset);
    }
  }

  /// Levels of every second column from `column` on.
  hn::Vec<D16> LiftSecond(hn::Vec<D16> levels, std::size_t column) const {
    const D16 d16;
    const auto gain = hn::Load(d16, &gains.of[column % 2][column / 2]);
    const auto offset = hn::Load(d16, &offsets.of[column % 2][column / 2]);
    return hn::Min(hn::Add(hn::Mul(levels, gain), offset), hn::Set(d16, 255));
  }
  hn::Vec<D8> LiftVector(hn::Vec<D8> levels, std::size_t column) const {
    const auto lifted = hn::Or(LiftSecond(Even(levels), column),
                               hn::ShiftLeft<8>(LiftSecond(Odd(levels), column + 1)));
    return hn::IfThenElse(IsAtMost(levels, brightest), hn::BitCast(D8(), lifted), levels);
  }
  std::uint8_t LiftPixel(std::uint8_t level, std::size_t column) {
    if (level > brightest) return level;
    return static_cast<std::uint8_t>(std::min(level * gains.At(column) + offsets.At(column), 255));
  }

  std::uint8_t brightest;
  ColumnNumbers<std::uint16_t, 2> gains, offsets;
};

/// @return the bits that have changed in some byte.
HWY_INLINE hn::Vec<D8> LiftRow(std::uint8_t* row, std::size_t width, StripLift& lift) {
  const D8 d8;
  auto changes = hn::Zero(d8);
  std::size_t column = 0;
  for (; column + Lanes() <= width; column += Lanes()) {
    const auto before = hn::LoadU(d8, row + column), after = lift.LiftVector(before, column);
    changes = hn::Or(changes, hn::Xor(before, after));
    hn::StoreU(after, d8, row + column);
  }
  for (; column < width; ++column) {
    const std::uint8_t before = row[column], after = lift.LiftPixel(before, column);
    changes = hn::Or(changes, hn::Set(d8, before ^ after));
    row[column] = after;
  }
  return changes;
}

bool LiftStrip(ImageView strip, std::uint8_t brightest, std::span<const ColumnLight> columns) {
  const D8 d8;
  StripLift lift(columns, brightest);
  auto changes = hn::Zero(d8);
  for (std::int32_t y = 0; y < strip.height; ++y)
    changes = hn::Or(changes, LiftRow(strip.Row(y), columns.size(), lift));
  return !hn::AllTrue(d8, hn::Eq(changes, hn::Zero(d8)));
}

/// Calls `work` for each strip of the image and its columns.
template <class Byte, class Column, class Function>
void ForStrips(View<Byte> gray, std::span<Column> columns, const Function& work) {
  for (std::size_t x = 0; x < columns.size(); x += kStrip) {
    const auto strip = columns.subspan(x, std::min(kStrip, columns.size() - x));
    work(
        View<Byte>{gray.bits + x, static_cast<std::int32_t>(strip.size()), gray.height, gray.pitch},
        strip);
  }
}

void SumColumns(ConstImageView gray, std::uint8_t brightest, std::span<ColumnLight> columns) {
  ForStrips(gray, columns, [=](auto strip, auto of) { SumStrip(strip, brightest, of); });
}

bool ApplyLift(ImageView gray, std::uint8_t brightest, std::span<const ColumnLight> columns) {
  bool changed = false;
  ForStrips(gray, columns,
            [&](auto strip, auto of) { changed |= LiftStrip(strip, brightest, of); });
  return changed;
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {
namespace {

constexpr std::uint8_t kBrightestLifted = 240;

/// The entry in the middle of the sorted means; of an even number, the upper one.
int FindMedian(std::span<const ColumnLight> columns) {
  std::array<std::size_t, 256> counts{};
  for (const ColumnLight& column : columns) ++counts[column.mean];
  std::size_t passed = counts[0];
  int level = 0;
  while (passed <= columns.size() / 2) passed += counts[static_cast<std::size_t>(++level)];
  return level;
}

struct Reference {
  int mean;
  double deviation;
};

std::optional<Reference> FindReference(std::span<const ColumnLight> columns) {
  if (columns.empty()) return std::nullopt;
  const int median = FindMedian(columns);
  std::int64_t means = 0, count = 0;
  double deviations = 0.0;
  for (const ColumnLight& column : columns) {
    if (column.mean <= median) continue;
    means += column.mean;
    deviations += column.deviation;
    ++count;
  }
  if (count == 0) return std::nullopt;
  return Reference{static_cast<int>(means / count), deviations / static_cast<double>(count)};
}

void ChooseLift(ColumnLight& column, const Reference& reference) {
  column.gain = 1;
  column.offset = 0;
  if (column.mean > reference.mean) return;
  const bool flatter = column.deviation < reference.deviation;
  if (flatter && !(column.deviation > 0)) return;
  column.offset = reference.mean - column.mean;
  if (flatter) column.gain = static_cast<std::int64_t>(reference.deviation / column.deviation);
}

}  // namespace

HWY_EXPORT(SumColumns);
HWY_EXPORT(ApplyLift);

void MeasureColumns(ConstImageView gray, int limit, std::span<ColumnLight> columns) {
  std::fill(columns.begin(), columns.end(), ColumnLight{});
  const auto brightest = static_cast<std::uint8_t>(std::clamp(limit, 0, 255));
  if (limit >= 0) HWY_DYNAMIC_DISPATCH(SumColumns)(gray, brightest, columns);
  for (ColumnLight& column : columns) {
    if (column.count == 0) continue;
    const std::int64_t mean = column.sum / column.count;
    // The sum of (mean - level)^2 in whole numbers, and so exact in any order.
    const std::int64_t squares =
        column.squares - 2 * mean * column.sum + mean * mean * column.count;
    column.mean = static_cast<std::uint8_t>(mean);
    const auto divisor = static_cast<double>(std::max<std::int64_t>(column.count - 1, 1));
    column.deviation = std::sqrt(static_cast<double>(squares) / divisor);
  }
}

bool LiftColumns(ImageView gray, std::span<ColumnLight> columns) {
  const std::optional<Reference> reference = FindReference(columns);
  if (!reference) return false;
  for (ColumnLight& column : columns) ChooseLift(column, *reference);
  return HWY_DYNAMIC_DISPATCH(ApplyLift)(gray, kBrightestLifted, columns);
}

}  // namespace rastelo

#endif  // HWY_ONCE
