#include "plain/segment.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <memory>

#include "numeric/rounded_functions.h"
#include "plain/histogram.h"

namespace plain {

using namespace rastelo;

namespace {

/// Of neighbours whose places and levels differ by so much. Made once: our exponential takes longer
/// than that of a C library, and plain code is timed as well.
double Weight(int square, int difference) {
  static const auto weights = [] {
    std::array<std::array<double, 256>, 2> all;
    for (int s = 1; s <= 2; ++s)
      for (int d = 0; d < 256; ++d)
        all[std::size_t(s - 1)][std::size_t(d)] = RoundedExp(-1.0 * (s * 0.25 + d * d / 625.0));
    return all;
  }();
  return weights[std::size_t(square - 1)][std::size_t(std::abs(difference))];
}

}  // namespace

void SumAffinities(ConstImageView gray, AffinityTable& affinity) {
  for (auto& row : affinity) row.fill(0.0);
  for (std::int32_t y = 0; y < gray.height; ++y) {
    for (std::int32_t x = 0; x < gray.width; ++x) {
      const int c = gray.Row(y)[x];
      for (std::int32_t v = y - 1; v <= y + 1; ++v) {
        for (std::int32_t u = x - 1; u <= x + 1; ++u) {
          if ((u == x && v == y) || u < 0 || v < 0 || u >= gray.width || v >= gray.height) continue;
          const int n = gray.Row(v)[u], dx = u - x, dy = v - y;
          affinity[static_cast<std::size_t>(c)][static_cast<std::size_t>(n)] +=
              Weight(dx * dx + dy * dy, n - c);
        }
      }
    }
  }
  for (std::size_t i = 0; i < 255; ++i) affinity[i][i] = 0.0;
}

int FindGraphCutThreshold(const AffinityTable& affinity) {
  const auto at = [&](int i, int j) {
    return affinity[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)];
  };
  double smallest = DBL_MAX;
  int best = 0;
  for (int t = 0; t < 256; ++t) {
    double cut = 0, below = 0, above = 0;
    for (int i = 0; i <= t; ++i)
      for (int j = t; j < 256; ++j) cut += at(i, j);
    for (int i = 0; i < t; ++i)
      for (int j = i; j <= t; ++j) below += at(i, j);
    for (int i = t; i < 256; ++i)
      for (int j = i; j < 256; ++j) above += at(i, j);
    const double normalised = cut / (cut + above) + cut / (cut + below);
    if (!(normalised < smallest && below > 0 && above > 0)) continue;
    smallest = normalised;
    best = t;
  }
  return best;
}

std::optional<int> FindOtsuThreshold(LevelCounts counts, int low, int high) {
  double total = 0, share[256] = {};
  for (int i = low; i <= high; ++i) total += counts[static_cast<std::size_t>(i)];
  for (int i = low; i <= high; ++i) share[i] = counts[static_cast<std::size_t>(i)] / total;
  std::optional<int> best;
  double largest = DBL_MIN;
  for (int t = low; t <= high; ++t) {
    double w0 = 0, w1 = 0, m0 = 0, m1 = 0;
    for (int i = low; i < t; ++i) w0 += share[i];
    for (int i = t; i <= high; ++i) w1 += share[i];
    if (w0 < 0.01 || w1 < 0.01) continue;
    for (int i = low; i < t; ++i) m0 += i * share[i] / w0;
    for (int i = t; i <= high; ++i) m1 += i * share[i] / w1;
    const double mean = m0 * w0 + m1 * w1;
    const double score = (m1 - mean) * w1 * (m1 - mean) + (m0 - mean) * w0 * (m0 - mean);
    if (!(score > largest)) continue;
    largest = score;
    best = t;
  }
  return best;
}

std::optional<int> FindThreshold(ConstImageView gray, ThresholdSearch search) {
  if (search == ThresholdSearch::kOtsu) return FindOtsuThreshold(plain::CountLevels(gray), 0, 255);
  const auto affinity = std::make_unique<AffinityTable>();
  plain::SumAffinities(gray, *affinity);
  const int level = plain::FindGraphCutThreshold(*affinity);
  return level > 0 ? std::optional(level) : std::nullopt;
}

void SegmentOtsu(ImageView gray) {
  int threshold = 0, previous = 0;
  for (int pass = 0; pass < 10; ++pass) {
    const Histogram counts = plain::CountLevels(gray);
    threshold = FindOtsuThreshold(counts, threshold, 255).value_or(threshold);
    const int average = plain::MeanLevel(gray);
    if (pass > 0 && average != previous && previous - average < 10) break;
    for (std::int32_t y = 0; y < gray.height; ++y)
      for (std::int32_t x = 0; x < gray.width; ++x)
        if (gray.Row(y)[x] < threshold) gray.Row(y)[x] = 0;
    previous = average;
  }
}

void SegmentContrasts(ImageView gray, std::int32_t radius) {
  const auto change = [gray](auto rule) {
    for (std::int32_t y = 0; y < gray.height; ++y)
      for (std::int32_t x = 0; x < gray.width; ++x) gray.Row(y)[x] = rule(gray.Row(y)[x]);
  };
  change([](int level) { return static_cast<std::uint8_t>(255 - level); });
  const auto totals = SumContrasts(gray, radius);
  std::size_t threshold = 0;
  for (std::size_t level = 0; level < 256; ++level)
    if (totals[level] > std::max(0, totals[threshold])) threshold = level;
  change([=](std::size_t level) { return static_cast<std::uint8_t>(level < threshold ? 0 : 255); });
}

std::array<std::int32_t, 256> SumContrasts(ConstImageView gray, std::int32_t radius) {
  std::array<std::int32_t, 256> totals{};
  for (std::int32_t y = radius; y < gray.height - radius; ++y) {
    for (std::int32_t x = radius; x < gray.width - radius; ++x) {
      const int c = gray.Row(y)[x];
      for (std::int32_t v = y - radius; v < y + radius; ++v)
        for (std::int32_t u = x - radius; u < x + radius; ++u)
          totals[static_cast<std::size_t>(c)] += c - gray.Row(v)[u];
    }
  }
  return totals;
}

}  // namespace plain
