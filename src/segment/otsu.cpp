#include "segment/otsu.h"

#include <algorithm>
#include <cfloat>

#include "numeric/first_least.h"

namespace rastelo {
namespace {

struct Class {
  double weight = 0.0, mean = 0.0;
};

/// The share of the pixels at each level, worked out when it is asked for: mostly none is.
struct Shares {
  LevelCounts counts;
  double total;
  double operator[](std::size_t level) const { return counts[level] / total; }
};

/// The shares of [first, end) and their mean level. The mean stays 0 for a class too small to
/// qualify.
Class Measure(const Shares& share, std::size_t first, std::size_t end) {
  Class result;
  for (std::size_t i = first; i < end; ++i) result.weight += share[i];
  if (result.weight < 0.01) return result;
  for (std::size_t i = first; i < end; ++i)
    result.mean += static_cast<double>(i) * share[i] / result.weight;
  return result;
}

/// The variance between the classes [first, threshold) and [threshold, end), 0 if one does not
/// qualify.
double VarianceBetween(const Shares& share, std::size_t first, std::size_t threshold,
                       std::size_t end) {
  const Class dark = Measure(share, first, threshold), bright = Measure(share, threshold, end);
  if (dark.weight < 0.01 || bright.weight < 0.01) return 0.0;
  const double mean = dark.mean * dark.weight + bright.mean * bright.weight;
  return (bright.mean - mean) * bright.weight * (bright.mean - mean) +
         (dark.mean - mean) * dark.weight * (dark.mean - mean);
}

/// How far an estimate may be from what VarianceBetween gives, as u = 2^-53 is the most that one
/// rounding changes, relatively. A share is off by u and a weight by 256 u, so a term of a mean by
/// 259 u and a mean, of at most 256 terms, by 514 u, which is 131,070 u in levels. The mean of both
/// classes is off by (514 + 256 + 2) u, 196,860 u in levels; a distance from it by 328,185 u; its
/// square by 2 * 255 * 328,185 u, and (256 + 2) u of 255^2 more with its weight. The weights sum to
/// 1, so all this is below 1.9e8 u. The estimate comes from whole numbers below 2^53 by ten
/// roundings of at most 255^2 u each. Together that is below 2^28 u.
constexpr double kMargin = 0x1p-25;

/// Calls visit with the estimated variance, negated, of each threshold that can be the first of the
/// largest.
template <class Visit>
void EstimateVariances(LevelCounts counts, std::size_t first, std::size_t end, std::int64_t total,
                       Visit visit) {
  std::int64_t moment = 0, dark = 0, darkMoment = 0;
  for (std::size_t i = first; i < end; ++i) moment += static_cast<std::int64_t>(i) * counts[i];
  const auto share = [&](std::int64_t count) {
    return static_cast<double>(count) / static_cast<double>(total);
  };
  const auto mean = [](std::int64_t sum, std::int64_t count) {
    return static_cast<double>(sum) / static_cast<double>(count);
  };
  for (std::size_t threshold = first + 1; threshold < end; ++threshold) {
    const std::int64_t count = counts[threshold - 1];
    // Level threshold - 1 may go to either class if it is empty: it adds zeros to every sum.
    if (count == 0) continue;
    dark += count;
    darkMoment += static_cast<std::int64_t>(threshold - 1) * count;
    const std::int64_t bright = total - dark, fewer = std::min(dark, bright);
    // 100 * fewer is whole, and rounding moves a weight by less than 1 / (100 * total): only
    // equality leaves open on which side of 0.01 it falls.
    if (100 * fewer < total) continue;
    const double distance = mean(moment - darkMoment, bright) - mean(darkMoment, dark);
    visit(EstimatedPlace<std::size_t>{
        threshold, -(share(dark) * share(bright) * distance * distance), 100 * fewer > total});
  }
}

}  // namespace

std::optional<int> FindOtsuThreshold(LevelCounts counts, int low, int high) {
  const auto first = static_cast<std::size_t>(low), end = static_cast<std::size_t>(high) + 1;
  std::int64_t total = 0;
  for (std::size_t i = first; i < end; ++i) total += counts[i];
  if (total == 0) return {};
  const Shares share{counts, static_cast<double>(total)};
  const auto found = FindFirstLeast<std::size_t>(
      [&](auto visit) { EstimateVariances(counts, first, end, total, visit); },
      [](double least) { return least + 2 * kMargin; }, -DBL_MIN,
      [&](std::size_t threshold) { return -VarianceBetween(share, first, threshold, end); });
  return found ? std::optional(static_cast<int>(*found)) : std::nullopt;
}

}  // namespace rastelo
