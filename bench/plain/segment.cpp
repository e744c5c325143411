#include "bench/plain/segment.h"

#include <cstdlib>

#include "numeric/rounded_functions.h"

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
