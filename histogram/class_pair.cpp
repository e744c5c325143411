#include "histogram/class_pair.h"

#include <cfloat>
#include <numeric>

namespace rastelo {
namespace {

constexpr std::size_t kLevels = 255;

/// Shares of the pixels and what they weigh, for the levels 0 to 254.
struct Shares {
  explicit Shares(LevelCounts counts) {
    const auto total =
        static_cast<double>(std::accumulate(counts.begin(), counts.end(), std::int64_t{0}));
    for (std::size_t i = 0; i < kLevels; ++i) {
      share[i] = counts[i] / total;
      moment[i] = static_cast<double>(i) * share[i];
    }
  }
  std::array<double, kLevels> share, moment;
};

/// Variance times weight of the class of levels [first, end), whose shares sum to `weight`. Each
/// term is divided by the weight before it is added, levels ascending. Not a number for a class
/// with levels but without pixels.
double WeightedVariance(const Shares& shares, std::size_t first, std::size_t end, double weight) {
  double mean = 0.0;
  for (std::size_t i = first; i < end; ++i) mean += shares.moment[i] / weight;
  double variance = 0.0;
  for (std::size_t i = first; i < end; ++i) {
    const double distance = static_cast<double>(i) - mean;
    variance += distance * distance * shares.share[i] / weight;
  }
  return variance * weight;
}

double Weight(const Shares& shares, std::size_t first, std::size_t end) {
  double weight = 0.0;
  for (std::size_t i = first; i < end; ++i) weight += shares.share[i];
  return weight;
}

}  // namespace

std::optional<ThresholdPair> FindClassPair(LevelCounts counts) {
  const Shares shares(counts);
  // The upper class depends on the upper threshold alone, so each is summed once, in its order.
  std::array<double, kLevels> upper;
  for (std::size_t high = 1; high < kLevels; ++high)
    upper[high] = WeightedVariance(shares, high, kLevels, Weight(shares, high, kLevels));

  std::optional<ThresholdPair> best;
  double smallest = DBL_MAX;
  for (std::size_t low = 0; low + 1 < kLevels; ++low) {
    const double lower = WeightedVariance(shares, 0, low, Weight(shares, 0, low));
    double weight = 0.0;
    for (std::size_t high = low + 1; high < kLevels; ++high) {
      // The middle class grows by its highest level, which is also the last term of its weight:
      // the sum is the same as one made afresh. Mean and variance change in every term.
      weight += shares.share[high - 1];
      const double sum = WeightedVariance(shares, low, high, weight) + lower + upper[high];
      if (!(smallest > sum)) continue;
      smallest = sum;
      best = {static_cast<int>(low), static_cast<int>(high)};
    }
  }
  return best;
}

}  // namespace rastelo
