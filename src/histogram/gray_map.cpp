#include "histogram/gray_map.h"

#include <cmath>
#include <numeric>

namespace rastelo {
namespace {

/// Which levels a lifted map spans, and which of them tell what a spike is.
struct LiftRange {
  std::size_t first, last;  // mapped, both included
  std::size_t judgedEnd;    // judged are [first, judgedEnd)
  std::int64_t meanDivisor;
};

/// `total` is the number of pixels at the mapped levels, above 0.
void FillLiftedMap(LevelCounts counts, const LiftRange& range, std::int64_t total,
                   std::span<std::uint8_t, 256> map) {
  const auto span = static_cast<std::int64_t>(range.last - range.first);
  const std::int64_t wholeMean = total / range.meanDivisor;
  const auto mean = static_cast<double>(wholeMean);
  double squares = 0.0;
  std::int64_t aboveMean = 0;
  for (std::size_t i = range.first; i < range.judgedEnd; ++i) {
    const double distance = counts[i] - mean;
    squares += distance * distance;
    if (counts[i] > mean) aboveMean += counts[i];
  }
  const double deviation = std::sqrt(squares / static_cast<double>(span));
  const auto spikeLimit = static_cast<std::int64_t>(2.0 * deviation + mean);
  const std::int64_t wholeFactor = span * aboveMean / total;
  const auto liftFactor = static_cast<double>(wholeFactor);

  std::int64_t cumulated = 0;
  for (std::size_t i = range.first; i <= range.last; ++i) {
    cumulated += counts[i];
    const std::int64_t lift =
        counts[i] > spikeLimit
            ? 0
            : static_cast<std::int64_t>(counts[i] * liftFactor / static_cast<double>(total));
    map[i] = static_cast<std::uint8_t>(span * cumulated / total +
                                       static_cast<std::int64_t>(range.first) + lift);
  }
}

std::int64_t CountPixels(LevelCounts counts, std::size_t first, std::size_t last) {
  return std::accumulate(counts.begin() + static_cast<std::ptrdiff_t>(first),
                         counts.begin() + static_cast<std::ptrdiff_t>(last) + 1, std::int64_t{0});
}

}  // namespace

GrayMap MakeCumulativeMap(LevelCounts counts) {
  const std::int64_t total = CountPixels(counts, 0, 255);
  GrayMap map;
  std::int64_t cumulated = 0;
  for (std::size_t i = 0; i < map.size(); ++i) {
    cumulated += counts[i];
    map[i] = static_cast<std::uint8_t>(255 * cumulated / total);
  }
  return map;
}

void FillSegmentMap(LevelCounts counts, int first, int last, std::span<std::uint8_t, 256> map) {
  const auto from = static_cast<std::size_t>(first), to = static_cast<std::size_t>(last);
  const std::int64_t total = CountPixels(counts, from, to);
  if (first == last || total == 0) {
    map[from] = static_cast<std::uint8_t>(first);
    return;
  }
  FillLiftedMap(counts, {from, to, to, last - first}, total, map);
}

GrayMap MakeSegmentMap(LevelCounts counts, std::span<const int> bounds) {
  GrayMap map{};
  for (std::size_t i = 1; i < bounds.size(); ++i)
    FillSegmentMap(counts, bounds[i - 1], bounds[i], map);
  return map;
}

GrayMap MakeLiftedMap(LevelCounts counts) {
  GrayMap map;
  FillLiftedMap(counts, {0, 255, 256, 256}, CountPixels(counts, 0, 255), map);
  return map;
}

}  // namespace rastelo
