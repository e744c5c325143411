#pragma once

#include <cstddef>
#include <cstdint>

namespace rastelo {

/// A side that is averaged: pixels, in a ratio without a common divisor.
struct ShrunkSide {
  std::int64_t source, target;
};

/// Where a target column starts: `rest` units into source column `column`.
struct ColumnStart {
  std::int32_t column;
  std::uint32_t rest;
};

/// How to average by area, and memory to work with. Arrays hold `pitch` elements of up to 64 bits
/// for each plane, aligned for vectors, and whole vectors behind the last column.
struct ShrinkPlan {
  ShrunkSide columns, rows;
  std::size_t pitch;
  std::int64_t area = 0;                // of a target pixel, in units
  int halvings = 0;                     // how often two columns are added before `columns` counts
  const ColumnStart* starts = nullptr;  // of each target column, and one behind the last
  void* rowSums = nullptr;              // of each plane
  void *columnSums = nullptr, *sumsBefore = nullptr;    // of one plane
  std::uint8_t *splitRows = nullptr, *means = nullptr;  // of 4 rows of three planes; of each plane
};

/// Whether 32 bits hold a target pixel's largest sum.
constexpr bool FitsSmallSum(std::int64_t area) { return 255 * area <= UINT32_MAX; }

}  // namespace rastelo
