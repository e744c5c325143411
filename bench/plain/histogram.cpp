#include "bench/plain/histogram.h"

#include <cfloat>
#include <numeric>

namespace plain {

using namespace rastelo;

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
