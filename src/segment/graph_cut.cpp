#include "segment/graph_cut.h"

#include <algorithm>
#include <cfloat>
#include <cstdlib>

#include "numeric/first_least.h"
#include "numeric/rounded_functions.h"

namespace rastelo {
namespace {

/// The affinities of neighbours whose distance has the square 1, and 2, by the difference of their
/// levels, whose sign does not count.
using Weights = std::array<std::array<double, 256>, 2>;

Weights MakeWeights() {
  Weights weights;
  for (std::size_t i = 0; i < 256; ++i) {
    const double difference = static_cast<double>(i * i) / 625.0;
    weights[0][i] = RoundedExp(-(0.25 + difference));
    weights[1][i] = RoundedExp(-(0.5 + difference));
  }
  return weights;
}

}  // namespace

void SumAffinities(ConstImageView gray, AffinityTable& affinity) {
  const Weights weights = MakeWeights();
  for (auto& row : affinity) row.fill(0.0);
  for (std::int32_t y = 0; y < gray.height; ++y) {
    const std::uint8_t* row = gray.Row(y);
    const std::int32_t top = std::max(y - 1, 0), bottom = std::min(y + 1, gray.height - 1);
    for (std::int32_t x = 0; x < gray.width; ++x) {
      auto& sums = affinity[row[x]];
      const std::int32_t left = std::max(x - 1, 0), right = std::min(x + 1, gray.width - 1);
      for (std::int32_t ny = top; ny <= bottom; ++ny) {
        const std::uint8_t* neighbours = gray.Row(ny);
        for (std::int32_t nx = left; nx <= right; ++nx) {
          if (nx == x && ny == y) continue;
          const bool isDiagonal = nx != x && ny != y;
          const auto difference = static_cast<std::size_t>(std::abs(neighbours[nx] - row[x]));
          sums[neighbours[nx]] += weights[isDiagonal][difference];
        }
      }
    }
  }
  for (std::size_t i = 0; i < 255; ++i) affinity[i][i] = 0.0;
}

namespace {

/// The sums of a cut at a level, and how it rates.
struct Cut {
  double cut = 0.0, below = 0.0, above = 0.0;
  bool IsValid() const { return below > 0.0 && above > 0.0; }
  double Normalised() const { return cut / (cut + above) + cut / (cut + below); }
};

/// The sums in their order.
Cut SumUp(const AffinityTable& affinity, std::size_t t) {
  Cut sums;
  for (std::size_t i = 0; i <= t; ++i)
    for (std::size_t j = t; j < 256; ++j) sums.cut += affinity[i][j];
  for (std::size_t i = 0; i < t; ++i)
    for (std::size_t j = i; j <= t; ++j) sums.below += affinity[i][j];
  for (std::size_t i = t; i < 256; ++i)
    for (std::size_t j = i; j < 256; ++j) sums.above += affinity[i][j];
  return sums;
}

/// How far an estimated rating may be from the summed one, relatively, as u = 2^-53 is the most
/// that one rounding changes. Nothing negative is added and nothing subtracted, so a sum of n terms
/// is off by at most (n - 1) u. In their order, a cut has at most 16,512 terms and a side 32,896,
/// so the rating is off by at most (16,511 + 32,895 + 4) u. In an estimate no term goes through
/// more than 512 additions, so it is off by at most (2 * 512 + 4) u. Together that is below 2^16 u.
constexpr double kMargin = 0x1p-37;

/// Estimates of all cuts. They share their sums: those of a row from the diagonal on, of a column
/// down to it, and of a column's rows so far.
class CutEstimates {
 public:
  explicit CutEstimates(const AffinityTable& affinity) {
    std::array<double, 256> columns{}, rows{};
    double columnsBefore = 0.0;
    for (std::size_t t = 0; t < 256; ++t) {
      cuts_[t].below = columnsBefore + columns[t];
      for (std::size_t j = t; j < 256; ++j) {
        rows[t] += affinity[t][j];
        columns[j] += affinity[t][j];
        cuts_[t].cut += columns[j];
      }
      columnsBefore += columns[t];
    }
    double rowsBehind = 0.0;
    for (std::size_t t = 256; t-- > 0;) cuts_[t].above = rowsBehind += rows[t];
    // Between two levels that touch no others, all cuts have the sums of the first.
    for (std::size_t t = 0; t < 256; ++t)
      matters_[t] = t == 0 || rows[t - 1] + columns[t - 1] + rows[t] + columns[t] > 0.0;
  }

  /// Calls visit with each level whose cut can be the first of the smallest.
  template <class Visit>
  void ForEachCut(Visit visit) const {
    for (std::size_t t = 0; t < 256; ++t)
      if (matters_[t] && cuts_[t].IsValid())
        visit(EstimatedPlace<std::size_t>{t, cuts_[t].Normalised()});
  }

 private:
  std::array<Cut, 256> cuts_;
  std::array<bool, 256> matters_;
};

/// The level of the smallest cut, 0 if there is none.
/// @param margin  how far an estimated rating may be off, relatively.
/// @param rate    the rating of a level's cut.
template <class Rate>
int FindSmallestCut(const CutEstimates& estimates, double margin, Rate rate) {
  const auto found = FindFirstLeast<std::size_t>(
      [&](auto visit) { estimates.ForEachCut(visit); },
      [&](double least) { return least * (1.0 + 4 * margin); }, DBL_MAX, rate);
  return static_cast<int>(found.value_or(0));
}

/// Counts, for each pixel, the pairs it forms with the next one in its row and with those around
/// the same place in the next row.
void CountPairs(ConstImageView gray, PairCounts& beside, PairCounts& diagonal) {
  for (PairCounts* counts : {&beside, &diagonal})
    for (auto& row : *counts) row.fill(0);
  for (std::int32_t y = 0; y < gray.height; ++y) {
    const std::uint8_t* row = gray.Row(y);
    for (std::int32_t x = 1; x < gray.width; ++x) ++beside[row[x - 1]][row[x]];
    if (y + 1 == gray.height || gray.width == 0) break;
    const std::uint8_t* next = gray.Row(y + 1);
    ++beside[row[0]][next[0]];
    for (std::int32_t x = 1; x < gray.width; ++x) {
      ++beside[row[x]][next[x]];
      ++diagonal[row[x - 1]][next[x]];
      ++diagonal[row[x]][next[x - 1]];
    }
  }
}

/// What SumAffinities gives from the diagonal on, but for roundings: sums by counts and weights.
void EstimateAffinities(const PairCounts& beside, const PairCounts& diagonal,
                        AffinityTable& affinity) {
  const Weights weights = MakeWeights();
  const auto weigh = [&](std::size_t i, std::size_t j) {
    const double besides = static_cast<double>(beside[i][j]) + beside[j][i];
    const double diagonals = static_cast<double>(diagonal[i][j]) + diagonal[j][i];
    return besides * weights[0][j - i] + diagonals * weights[1][j - i];
  };
  for (std::size_t i = 0; i < 256; ++i) {
    affinity[i][i] = 0.0;
    for (std::size_t j = i + 1; j < 256; ++j) affinity[i][j] = weigh(i, j);
  }
  affinity[255][255] = weigh(255, 255);
}

}  // namespace

int FindGraphCutThreshold(const AffinityTable& affinity) {
  return FindSmallestCut(CutEstimates(affinity), kMargin,
                         [&](std::size_t t) { return SumUp(affinity, t).Normalised(); });
}

int FindGraphCutThreshold(ConstImageView gray, GraphCutTables& tables) {
  CountPairs(gray, tables.beside, tables.diagonal);
  EstimateAffinities(tables.beside, tables.diagonal, tables.affinity);
  const CutEstimates estimates(tables.affinity);
  // An affinity is the sum of at most 8 W H weights, and so off by at most 8 W H u, relatively,
  // where an estimate is off by 3 u. In a rating that counts twice.
  const double margin = 0x1p-49 * gray.width * gray.height + kMargin;
  bool isSummed = false;
  return FindSmallestCut(estimates, margin, [&](std::size_t t) {
    if (!isSummed) SumAffinities(gray, tables.affinity);
    isSummed = true;
    return SumUp(tables.affinity, t).Normalised();
  });
}

}  // namespace rastelo
