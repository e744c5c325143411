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

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

constexpr std::size_t kStrip = 256;  // columns whose sums stay in the near cache

/// Adds up a strip of columns, in 32 bits as long as the squares of 2^16 rows fit.
void SumStrip(ConstImageView gray, std::int32_t x, int limit, std::span<ColumnLight> columns) {
  constexpr std::int32_t kRows = 65536;
  const auto brightest = static_cast<std::uint32_t>(std::min(limit, 255));
  for (std::int32_t bottom = 0; bottom < gray.height;
       bottom += std::min(kRows, gray.height - bottom)) {
    std::uint32_t counts[kStrip] = {}, sums[kStrip] = {}, squares[kStrip] = {};
    for (std::int32_t y = bottom; y < gray.height && y - bottom < kRows; ++y) {
      const std::uint8_t* row = gray.Row(y) + x;
      for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::uint32_t level = row[i], part = level <= brightest ? 1 : 0;
        counts[i] += part;
        sums[i] += part * level;
        squares[i] += part * level * level;
      }
    }
    for (std::size_t i = 0; i < columns.size(); ++i) {
      columns[i].count += counts[i];
      columns[i].sum += sums[i];
      columns[i].squares += squares[i];
    }
  }
}

/// Lifts a strip of columns. From 255 on a gain makes no difference, and so 16 bits hold all.
bool LiftStrip(ImageView gray, std::int32_t x, int brightest,
               std::span<const ColumnLight> columns) {
  std::uint16_t gains[kStrip] = {}, offsets[kStrip] = {};
  for (std::size_t i = 0; i < columns.size(); ++i) {
    gains[i] = static_cast<std::uint16_t>(std::min<std::int64_t>(columns[i].gain, 255));
    offsets[i] = static_cast<std::uint16_t>(columns[i].offset);
  }
  std::uint8_t changed = 0;
  for (std::int32_t y = 0; y < gray.height; ++y) {
    std::uint8_t* row = gray.Row(y) + x;
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const std::uint16_t before = row[i];
      const auto lifted = static_cast<std::uint16_t>(before * gains[i] + offsets[i]);
      const std::uint16_t after = before > brightest ? before : lifted > 255 ? 255 : lifted;
      changed |= static_cast<std::uint8_t>(before ^ after);
      row[i] = static_cast<std::uint8_t>(after);
    }
  }
  return changed != 0;
}

void SumColumns(ConstImageView gray, int limit, std::span<ColumnLight> columns) {
  for (std::size_t x = 0; x < columns.size(); x += kStrip)
    SumStrip(gray, static_cast<std::int32_t>(x), limit,
             columns.subspan(x, std::min(kStrip, columns.size() - x)));
}

bool ApplyLift(ImageView gray, int brightest, std::span<const ColumnLight> columns) {
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

constexpr int kBrightestChanged = 240;

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
