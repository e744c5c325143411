#include "filter/even_light.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>

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

void MeasureColumns(ConstImageView gray, int limit, std::span<ColumnLight> columns) {
  std::fill(columns.begin(), columns.end(), ColumnLight{});
  for (std::int32_t y = 0; y < gray.height; ++y) {
    const std::uint8_t* pixel = gray.Row(y);
    for (ColumnLight& column : columns) {
      const std::int64_t level = *pixel++;
      if (level > limit) continue;
      ++column.count;
      column.sum += level;
      column.squares += level * level;
    }
  }
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
  bool changed = false;
  for (std::int32_t y = 0; y < gray.height; ++y) {
    std::uint8_t* pixel = gray.Row(y);
    for (const ColumnLight& column : columns) {
      const std::uint8_t before = *pixel++;
      if (before > kBrightestChanged) continue;
      pixel[-1] = static_cast<std::uint8_t>(
          std::min<std::int64_t>(before * column.gain + column.offset, 255));
      changed = changed || pixel[-1] != before;
    }
  }
  return changed;
}

}  // namespace rastelo
