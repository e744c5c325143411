#include "segment/graph_cut.h"

#include <algorithm>
#include <cfloat>
#include <cstdlib>

#include "numeric/rounded_functions.h"

namespace rastelo {
namespace {

/// The affinity of two neighbours: by the square of their distance, 1 or 2, and by the difference
/// of their levels, whose sign does not count.
class Weights {
 public:
  Weights() {
    for (int square = 1; square <= 2; ++square)
      for (int difference = 0; difference < 256; ++difference)
        weights_[static_cast<std::size_t>(square - 1)][static_cast<std::size_t>(difference)] =
            RoundedExp(-1.0 * (square * 0.25 + difference * difference / 625.0));
  }
  double Of(bool diagonal, int centre, int neighbour) const {
    return weights_[diagonal][static_cast<std::size_t>(std::abs(neighbour - centre))];
  }

 private:
  std::array<std::array<double, 256>, 2> weights_;
};

}  // namespace

void SumAffinities(ConstImageView gray, AffinityTable& affinity) {
  const Weights weights;
  for (auto& row : affinity) row.fill(0.0);
  for (std::int32_t y = 0; y < gray.height; ++y) {
    const std::uint8_t* row = gray.Row(y);
    const std::int32_t top = std::max(y - 1, 0), bottom = std::min(y + 1, gray.height - 1);
    for (std::int32_t x = 0; x < gray.width; ++x) {
      const int centre = row[x];
      auto& sums = affinity[static_cast<std::size_t>(centre)];
      const std::int32_t left = std::max(x - 1, 0), right = std::min(x + 1, gray.width - 1);
      for (std::int32_t ny = top; ny <= bottom; ++ny) {
        const std::uint8_t* neighbours = gray.Row(ny);
        for (std::int32_t nx = left; nx <= right; ++nx) {
          if (nx == x && ny == y) continue;
          const int level = neighbours[nx];
          sums[static_cast<std::size_t>(level)] += weights.Of(nx != x && ny != y, centre, level);
        }
      }
    }
  }
  for (std::size_t i = 0; i < 255; ++i) affinity[i][i] = 0.0;
}

int FindGraphCutThreshold(const AffinityTable& affinity) {
  double smallest = DBL_MAX;
  int best = 0;
  for (std::size_t t = 0; t < 256; ++t) {
    double cut = 0.0, below = 0.0, above = 0.0;
    for (std::size_t i = 0; i <= t; ++i)
      for (std::size_t j = t; j < 256; ++j) cut += affinity[i][j];
    for (std::size_t i = 0; i < t; ++i)
      for (std::size_t j = i; j <= t; ++j) below += affinity[i][j];
    for (std::size_t i = t; i < 256; ++i)
      for (std::size_t j = i; j < 256; ++j) above += affinity[i][j];
    const double normalisedCut = cut / (cut + above) + cut / (cut + below);
    if (!(normalisedCut < smallest && below > 0.0 && above > 0.0)) continue;
    smallest = normalisedCut;
    best = static_cast<int>(t);
  }
  return best;
}

}  // namespace rastelo
