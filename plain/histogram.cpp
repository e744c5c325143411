#include "plain/histogram.h"

#include <cfloat>
#include <numeric>

namespace plain {

using namespace rastelo;

Histogram CountLevels(ConstImageView gray) {
  Histogram counts{};
  for (std::int32_t y = 0; y < gray.height; ++y)
    for (std::int32_t x = 0; x < gray.width; ++x) ++counts[gray.Row(y)[x]];
  return counts;
}

std::array<Histogram, 3> CountPlaneLevels(ConstImageView bgr) {
  std::array<Histogram, 3> counts{};
  for (std::int32_t y = 0; y < bgr.height; ++y)
    for (std::int32_t i = 0; i < 3 * bgr.width; ++i)
      ++counts[static_cast<std::size_t>(i % 3)][bgr.Row(y)[i]];
  return counts;
}

int MeanLevel(ConstImageView gray) {
  std::int64_t sum = 0;
  for (std::int32_t y = 0; y < gray.height; ++y)
    for (std::int32_t x = 0; x < gray.width; ++x) sum += gray.Row(y)[x];
  return static_cast<int>(sum / (std::int64_t{gray.width} * gray.height));
}

void ApplyMap(ImageView gray, const GrayMap& map) {
  for (std::int32_t y = 0; y < gray.height; ++y)
    for (std::int32_t x = 0; x < gray.width; ++x) gray.Row(y)[x] = map[gray.Row(y)[x]];
}

void ApplyPlaneMaps(ImageView bgr, const std::array<GrayMap, 3>& maps) {
  for (std::int32_t y = 0; y < bgr.height; ++y)
    for (std::int32_t i = 0; i < 3 * bgr.width; ++i)
      bgr.Row(y)[i] = maps[static_cast<std::size_t>(i % 3)][bgr.Row(y)[i]];
}

std::optional<ThresholdPair> FindClassPair(LevelCounts counts) {
  const auto total = static_cast<double>(std::accumulate(counts.begin(), counts.end(), 0LL));
  double share[255];
  for (std::size_t i = 0; i < 255; ++i) share[i] = counts[i] / total;
  const auto spread = [&](int first, int end) {
    double weight = 0, mean = 0, variance = 0;
    for (int i = first; i < end; ++i) weight += share[i];
    for (int i = first; i < end; ++i) mean += i * share[i] / weight;
    for (int i = first; i < end; ++i) variance += (i - mean) * (i - mean) * share[i] / weight;
    return variance * weight;
  };
  std::optional<ThresholdPair> best;
  double smallest = DBL_MAX;
  for (int low = 0; low < 254; ++low) {
    for (int high = low + 1; high < 255; ++high) {
      const double sum = spread(low, high) + spread(0, low) + spread(high, 255);
      if (!(smallest > sum)) continue;
      smallest = sum;
      best = {low, high};
    }
  }
  return best;
}

}  // namespace plain
