#include "segment/otsu.h"

#include <cfloat>

namespace rastelo {
namespace {

struct Class {
  double weight = 0.0, mean = 0.0;
};

/// The shares of [first, end) and their mean level, each term divided by the weight before it is
/// added. The mean stays 0 for a class too small to qualify.
Class Measure(const std::array<double, 256>& share, std::size_t first, std::size_t end) {
  Class result;
  for (std::size_t i = first; i < end; ++i) result.weight += share[i];
  if (result.weight < 0.01) return result;
  for (std::size_t i = first; i < end; ++i)
    result.mean += static_cast<double>(i) * share[i] / result.weight;
  return result;
}

}  // namespace

std::optional<int> FindOtsuThreshold(LevelCounts counts, int low, int high, std::int64_t total) {
  const auto first = static_cast<std::size_t>(low), end = static_cast<std::size_t>(high) + 1;
  std::array<double, 256> share{};
  for (std::size_t i = first; i < end; ++i) share[i] = counts[i] / static_cast<double>(total);

  std::optional<int> best;
  double largest = DBL_MIN;
  for (std::size_t threshold = first; threshold < end; ++threshold) {
    const Class dark = Measure(share, first, threshold);
    const Class bright = Measure(share, threshold, end);
    if (dark.weight < 0.01 || bright.weight < 0.01) continue;
    const double mean = dark.mean * dark.weight + bright.mean * bright.weight;
    const double score = (bright.mean - mean) * bright.weight * (bright.mean - mean) +
                         (dark.mean - mean) * dark.weight * (dark.mean - mean);
    if (!(score > largest)) continue;  // nor where there are no pixels, and it is not a number
    largest = score;
    best = static_cast<int>(threshold);
  }
  return best;
}

}  // namespace rastelo
