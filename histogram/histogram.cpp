#include "histogram/histogram.h"

#include <hwy/cache_control.h>

#include <algorithm>
#include <cstring>

namespace rastelo {
namespace {

/// How far ahead rows are fetched into the near cache.
constexpr std::ptrdiff_t kAhead = 2048;

/// Counts the levels of bytes that take turns between `kPlanes` planes. Neighbouring bytes count
/// into tables of their own: an equal neighbour would wait for the last count to be stored. Blocks
/// of one colour, as margins of scanned pages are full of, count at once.
template <std::size_t kPlanes, std::size_t kTables>
std::array<Histogram, kPlanes> CountBytes(ConstImageView image) {
  constexpr std::size_t kBlock = 48;
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

}  // namespace

Histogram CountLevels(ConstImageView gray) { return CountBytes<1, 4>(gray)[0]; }

std::array<Histogram, 3> CountPlaneLevels(ConstImageView bgr) { return CountBytes<3, 6>(bgr); }

int MeanOfCounts(LevelCounts counts) {
  std::int64_t pixels = 0, sum = 0;
  for (std::size_t level = 0; level < counts.size(); ++level) {
    pixels += counts[level];
    sum += static_cast<std::int64_t>(level) * counts[level];
  }
  return pixels == 0 ? 0 : static_cast<int>(sum / pixels);
}

}  // namespace rastelo
