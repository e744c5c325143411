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

using Bytes = hn::ScalableTag<std::uint8_t>;
using Words = hn::Repartition<std::uint16_t, Bytes>;
using Pairs = hn::Repartition<std::uint32_t, Bytes>;

constexpr std::size_t kStrip = 512;  // columns whose sums stay in the near cache

std::size_t Lanes() { return hn::Lanes(Bytes()); }

auto IsAtMost(hn::Vec<Bytes> levels, std::uint8_t limit) {
  return hn::Eq(hn::Min(levels, hn::Set(Bytes(), limit)), levels);
}

/// A number for each column of a strip, every kStep-th column side by side.
template <class T, std::size_t kStep>
struct ColumnNumbers {
  HWY_ALIGN T of[kStep][kStrip / kStep] = {};
  T& At(std::size_t column) { return of[column % kStep][column / kStep]; }
};

struct StripSums : ColumnNumbers<std::uint32_t, 4> {
  void AddPairs(std::size_t column, std::size_t first, hn::Vec<Pairs> sums) {
    std::uint32_t* at = &of[first][column / 4];
    hn::Store(hn::Add(hn::Load(Pairs(), at), sums), Pairs(), at);
  }
  void AddWords(std::size_t column, std::size_t first, hn::Vec<Words> sums) {
    AddPairs(column, first, Even(sums));
    AddPairs(column, first + 2, Odd(sums));
  }
};

/// Adds a few rows, so few that words hold their sums of levels, to the sums of `count` columns.
void SumRows(ConstImageView rows, std::int32_t x, std::size_t count, std::uint8_t brightest,
             StripSums& counts, StripSums& levels, StripSums& squares) {
  const Bytes d;
  std::size_t i = 0;
  for (; i + Lanes() <= count; i += Lanes()) {
    auto parts = hn::Zero(d);
    auto evens = hn::Zero(Words()), odds = evens;
    auto squares0 = hn::Zero(Pairs()), squares1 = squares0, squares2 = squares0,
         squares3 = squares0;
    for (std::int32_t y = 0; y < rows.height; ++y) {
      const auto all = hn::LoadU(d, rows.Row(y) + x + i);
      const auto part = hn::VecFromMask(d, IsAtMost(all, brightest));
      const auto level = hn::And(part, all);
      const auto even = Even(level), odd = Odd(level);
      const auto evenSquare = hn::Mul(even, even), oddSquare = hn::Mul(odd, odd);
      parts = hn::Sub(parts, part);
      evens = hn::Add(evens, even);
      odds = hn::Add(odds, odd);
      squares0 = hn::Add(squares0, Even(evenSquare));
      squares1 = hn::Add(squares1, Even(oddSquare));
      squares2 = hn::Add(squares2, Odd(evenSquare));
      squares3 = hn::Add(squares3, Odd(oddSquare));
    }
    counts.AddWords(i, 0, Even(parts));
    counts.AddWords(i, 1, Odd(parts));
    levels.AddWords(i, 0, evens);
    levels.AddWords(i, 1, odds);
    squares.AddPairs(i, 0, squares0);
    squares.AddPairs(i, 1, squares1);
    squares.AddPairs(i, 2, squares2);
    squares.AddPairs(i, 3, squares3);
  }
  for (; i < count; ++i) {
    for (std::int32_t y = 0; y < rows.height; ++y) {
      const std::uint32_t level = rows.Row(y)[static_cast<std::size_t>(x) + i];
      if (level > brightest) continue;
      counts.At(i) += 1;
      levels.At(i) += level;
      squares.At(i) += level * level;
    }
  }
}

/// Adds up a strip of columns, in 32 bits as long as the squares of 2^16 rows fit.
void SumStrip(ConstImageView gray, std::int32_t x, int limit, std::span<ColumnLight> columns) {
  constexpr std::int32_t kRows = 65536, kRowsAtOnce = 32;
  const auto brightest = static_cast<std::uint8_t>(std::min(limit, 255));
  for (std::int32_t bottom = 0; bottom < gray.height;
       bottom += std::min(kRows, gray.height - bottom)) {
    const std::int32_t end = bottom + std::min(kRows, gray.height - bottom);
    StripSums counts, levels, squares;
    for (std::int32_t y = bottom; y < end; y += kRowsAtOnce)
      SumRows({gray.Row(y), gray.width, std::min(kRowsAtOnce, end - y), gray.pitch}, x,
              columns.size(), brightest, counts, levels, squares);
    for (std::size_t i = 0; i < columns.size(); ++i) {
      columns[i].count += counts.At(i);
      columns[i].sum += levels.At(i);
      columns[i].squares += squares.At(i);
    }
  }
}

/// Lifts a strip of columns. From 255 on a gain makes no difference, and so 16 bits hold all.
bool LiftStrip(ImageView gray, std::int32_t x, std::uint8_t brightest,
               std::span<const ColumnLight> columns) {
  const Bytes d;
  const Words words;
  ColumnNumbers<std::uint16_t, 2> gains, offsets;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    gains.At(i) = static_cast<std::uint16_t>(std::min<std::int64_t>(columns[i].gain, 255));
    offsets.At(i) = static_cast<std::uint16_t>(columns[i].offset);
  }
  const auto lift = [&](auto level, std::size_t column) {
    const auto gain = hn::Load(words, &gains.of[column % 2][column / 2]);
    const auto offset = hn::Load(words, &offsets.of[column % 2][column / 2]);
    return hn::Min(hn::Add(hn::Mul(level, gain), offset), hn::Set(words, 255));
  };
  auto changes = hn::Zero(d);
  std::uint8_t change = 0;
  for (std::int32_t y = 0; y < gray.height; ++y) {
    std::uint8_t* row = gray.Row(y) + x;
    std::size_t i = 0;
    for (; i + Lanes() <= columns.size(); i += Lanes()) {
      const auto before = hn::LoadU(d, row + i);
      const auto lifted = hn::Or(lift(Even(before), i), hn::ShiftLeft<8>(lift(Odd(before), i + 1)));
      const auto after =
          hn::IfThenElse(IsAtMost(before, brightest), hn::BitCast(d, lifted), before);
      changes = hn::Or(changes, hn::Xor(before, after));
      hn::StoreU(after, d, row + i);
    }
    for (; i < columns.size(); ++i) {
      const int before = row[i], lifted = std::min(before * gains.At(i) + offsets.At(i), 255);
      const int after = before > brightest ? before : lifted;
      change |= static_cast<std::uint8_t>(before ^ after);
      row[i] = static_cast<std::uint8_t>(after);
    }
  }
  return change != 0 || !hn::AllTrue(d, hn::Eq(changes, hn::Zero(d)));
}

void SumColumns(ConstImageView gray, int limit, std::span<ColumnLight> columns) {
  for (std::size_t x = 0; x < columns.size(); x += kStrip)
    SumStrip(gray, static_cast<std::int32_t>(x), limit,
             columns.subspan(x, std::min(kStrip, columns.size() - x)));
}

bool ApplyLift(ImageView gray, std::uint8_t brightest, std::span<const ColumnLight> columns) {
  bool changed = false;
  for (std::size_t x = 0; x < columns.size(); x += kStrip)
    changed |= LiftStrip(gray, static_cast<std::int32_t>(x), brightest,
                         columns.subspan(x, std::min(kStrip, columns.size() - x)));
  return changed;
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {
namespace {

constexpr std::uint8_t kBrightestChanged = 240;

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
  if (limit >= 0) HWY_DYNAMIC_DISPATCH(SumColumns)(gray, limit, columns);
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
  return HWY_DYNAMIC_DISPATCH(ApplyLift)(gray, kBrightestChanged, columns);
}

}  // namespace rastelo

#endif  // HWY_ONCE
