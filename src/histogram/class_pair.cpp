#include "histogram/class_pair.h"

#include <cfloat>
#include <numeric>

#include "numeric/first_least.h"

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

/// Variance times weight of the class of levels [first, end). Each term is divided by the weight
/// before it is added, levels ascending.
double WeightedVariance(const Shares& shares, std::size_t first, std::size_t end) {
  double weight = 0.0, mean = 0.0, variance = 0.0;
  for (std::size_t i = first; i < end; ++i) weight += shares.share[i];
  for (std::size_t i = first; i < end; ++i) mean += shares.moment[i] / weight;
  for (std::size_t i = first; i < end; ++i) {
    const double distance = static_cast<double>(i) - mean;
    variance += distance * distance * shares.share[i] / weight;
  }
  return variance * weight;
}

/// How far an estimate, divided by the number of pixels, may be from the sum of the three weighted
/// variances, as u = 2^-53 is the most that one rounding changes, relatively. A share is off by u
/// and a weight by 255 u, so a term of a mean by 258 u and a mean, of at most 255 terms, by 512 u,
/// which is 130,048 u in levels, as is a distance, by 254 u more. Its square is off by
/// 2 * 254 * 130,302 u, and a sum of squares with its weights by (512 + 258) u of 254^2 more. The
/// weights sum to 1, so all three classes are off by less than 1.17e8 u together. The estimate
/// comes from whole numbers, of which only the squares may not fit 53 bits, by ten roundings of at
/// most 254^2 u each. Together that is below 2^27 u.
constexpr double kMargin = 0x1p-26;

/// The classes that matter lie between bounds 0 = b0 < b1 < ... of which each but the first has
/// pixels right below it. A bound above an empty level gives the same sums as the one below that
/// level, as zeros are added, and comes later in the order; or it leaves a class without pixels.
class PairEstimates {
 public:
  explicit PairEstimates(LevelCounts counts) {
    std::int64_t count = 0, moment = 0, square = 0;
    for (std::size_t i = 0; i <= kLevels; ++i) {
      if (i == 0 || counts[i - 1] > 0) {
        bound_[size_] = i;
        count_[size_] = static_cast<double>(count);
        moment_[size_] = static_cast<double>(moment);
        square_[size_++] = static_cast<double>(square);
      }
      const auto level = static_cast<std::int64_t>(i);
      count += counts[i];
      moment += level * counts[i];
      square += level * level * counts[i];
    }
    // Above the last bound there are no pixels: it ends the upper class.
    for (std::size_t high = 1; high + 1 < size_; ++high) upper_[high] = Spread(high, size_ - 1);
  }

  /// Calls visit with each pair of bounds, in order.
  template <class Visit>
  void ForEachPair(Visit visit) const {
    for (std::size_t low = 0; low + 2 < size_; ++low) {
      const double lower = low == 0 ? 0.0 : Spread(0, low);
      for (std::size_t high = low + 1; high + 1 < size_; ++high)
        visit(EstimatedPlace<ThresholdPair>{
            {static_cast<int>(bound_[low]), static_cast<int>(bound_[high])},
            lower + Spread(low, high) + upper_[high]});
    }
  }

 private:
  /// Sum of the squared distances from their mean of the pixels between two bounds.
  double Spread(std::size_t low, std::size_t high) const {
    const double moment = moment_[high] - moment_[low];
    return square_[high] - square_[low] - moment * moment / (count_[high] - count_[low]);
  }

  std::size_t size_ = 0;
  std::array<std::size_t, kLevels + 1> bound_;
  std::array<double, kLevels + 1> count_, moment_, square_;  // of the levels below each bound
  std::array<double, kLevels + 1> upper_;
};

}  // namespace

std::optional<ThresholdPair> FindClassPair(LevelCounts counts) {
  const PairEstimates estimates(counts);
  const Shares shares(counts);
  const auto margin = kMargin * std::accumulate(counts.begin(), counts.end(), 0.0);
  const auto weigh = [&](const ThresholdPair& pair) {
    const auto low = static_cast<std::size_t>(pair.low), high = static_cast<std::size_t>(pair.high);
    return WeightedVariance(shares, low, high) + WeightedVariance(shares, 0, low) +
           WeightedVariance(shares, high, kLevels);
  };
  return FindFirstLeast<ThresholdPair>([&](auto visit) { estimates.ForEachPair(visit); },
                                       [&](double least) { return least + 2 * margin; }, DBL_MAX,
                                       weigh);
}

}  // namespace rastelo
