#pragma once

#include <hwy/cache_control.h>

#include <algorithm>
#include <cstring>

#include "histogram/histogram.h"

namespace rastelo {

/// Counts the levels of `kPlanes` planes whose bytes alternate. Neighbouring bytes count into
/// tables of their own: an equal neighbour would wait for the last count to be stored. Blocks of
/// one colour, as margins of scanned pages are full of, count at once.
template <std::size_t kPlanes>
std::array<Histogram, kPlanes> CountBytes(ConstImageView image) {
  constexpr std::size_t kBlock = 48, kTables = kPlanes == 1 ? 4 : 2 * kPlanes;
  constexpr std::ptrdiff_t kAhead = 2048;  // how far rows are prefetched
  static_assert(kTables % kPlanes == 0 && kBlock % kTables == 0);
  std::array<std::array<std::uint32_t, 256>, kTables> tables{};
  for (std::int32_t y = 0; y < image.height; ++y) {
    const std::uint8_t* byte = image.Row(y);
    auto left = static_cast<std::ptrdiff_t>(kPlanes) * image.width;
    for (; left >= static_cast<std::ptrdiff_t>(kBlock); left -= kBlock, byte += kBlock) {
      hwy::Prefetch(byte + std::min(left, kAhead));
      if (std::memcmp(byte, byte + kPlanes, kBlock - kPlanes) == 0) {
        for (std::size_t i = 0; i < kPlanes; ++i) tables[i][byte[i]] += kBlock / kPlanes;
        continue;
      }
      for (std::size_t from = 0; from < kBlock; from += kTables)
        for (std::size_t i = 0; i < kTables; ++i) ++tables[i][byte[from + i]];
    }
    for (std::size_t i = 0; left > 0; --left, ++i) ++tables[i % kTables][byte[i]];
  }
  std::array<Histogram, kPlanes> counts{};
  for (std::size_t i = 0; i < kTables; ++i)
    for (std::size_t level = 0; level < 256; ++level)
      counts[i % kPlanes][level] += static_cast<std::int32_t>(tables[i][level]);
  return counts;
}

}  // namespace rastelo
