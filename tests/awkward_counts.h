#pragma once

#include <random>

#include "histogram/histogram.h"

/// Counts that are hard to search, another kind and other numbers for each `n`: few levels or all,
/// small numbers or such as only the largest images have, empty levels, one level far above all
/// others, shares of one percent; often mirrored at `last` / 2, so that thresholds nearly tie.
inline rastelo::Histogram AwkwardCounts(unsigned n, std::size_t last) {
  std::mt19937 generator(n);
  const auto random = [&] { return static_cast<unsigned>(generator()); };
  rastelo::Histogram counts{};
  const unsigned kind = n % 10;
  const unsigned levels = kind == 0 ? n / 10 % 3 : kind < 5 ? 3 + random() % 6 : 400;
  const unsigned most = std::array{2u, 5u, 100u, 1u << 20, 0x7FFFFFFFu}[n / 2 % 5];
  for (unsigned i = 0; i < levels; ++i)
    counts[random() % (kind % 2 == 0 ? 256 : 100)] = static_cast<int>(random() % most) + 1;
  if (kind == 5) counts[random() % 256] = INT32_MAX;
  if (kind == 6) counts = {99}, counts[random() % 255 + 1] = 1;
  if (kind == 7) counts.fill(INT32_MAX);
  if (kind % 3 == 0)
    for (std::size_t i = 0; 2 * i < last; ++i) counts[last - i] = counts[i];
  return counts;
}
