#include "filter/convolve_plan.h"

#include <algorithm>
#include <cmath>

namespace rastelo {
namespace {

constexpr int kMostFractionBits = 24, kLargestFineSize = 21;

/// The most fraction bits with which each factor fits into 16 bits and each sum into 31, of levels
/// 255, of all that rounding adds to factors, and of one half; -1 if there are none.
int FindFractionBits(std::span<const double> entries) {
  double largest = 0, total = 0;
  for (const double entry : entries) {
    largest = std::max(largest, std::abs(entry));
    total += std::abs(entry);
  }
  const auto count = static_cast<double>(entries.size());
  const auto fits = [=](int bits) {
    return std::ldexp(largest, bits) <= INT16_MAX &&
           255 * (std::ldexp(total, bits) + 2 * count) + std::ldexp(1.0, bits) < INT32_MAX;
  };
  int bits = kMostFractionBits;
  while (bits >= 0 && !fits(bits)) --bits;
  return bits;
}

std::vector<std::int32_t> PairFactors(const std::vector<double>& factors, std::size_t size) {
  std::vector<std::int32_t> pairs((size + 1) / 2 * size);
  for (std::size_t i = 0; i < factors.size(); ++i) {
    const std::size_t row = i / size, column = i % size;
    const auto bits = static_cast<std::uint16_t>(static_cast<std::int16_t>(factors[i]));
    pairs[row / 2 * size + column] |=
        static_cast<std::int32_t>(std::uint32_t{bits} << row % 2 * 16);
  }
  return pairs;
}

/// What rounding leaves of a sum of rounded factors at level 255, and one unit more, as a double's
/// roundings of fewer than 2^20 terms are far below that.
std::int32_t LargestError(double rounded) {
  return static_cast<std::int32_t>(std::ceil(255 * rounded)) + 1;
}

}  // namespace

ConvolvePlan PlanConvolve(std::span<const double> entries, int size, int pixelBytes) {
  ConvolvePlan plan{.entries = entries, .size = size, .pixelBytes = pixelBytes};
  plan.fractionBits = FindFractionBits(entries);
  if (plan.fractionBits < 0 || size > 1023) return plan;
  std::vector<double> factors, left;
  double roundedUp = 0, roundedDown = 0;
  for (const double entry : entries) {
    const double scaled = std::ldexp(entry, plan.fractionBits), factor = std::round(scaled);
    factors.push_back(factor);
    left.push_back(std::round(std::ldexp(scaled - factor, kFineBits)));
    (factor > scaled ? roundedUp : roundedDown) += std::abs(factor - scaled);
  }
  const bool isExact = roundedUp + roundedDown == 0;
  plan.tooLarge = isExact ? 0 : LargestError(roundedUp);
  plan.tooSmall = isExact ? 0 : LargestError(roundedDown);
  plan.factorPairs = PairFactors(factors, static_cast<std::size_t>(size));
  // Half of the factors' last bit, times 255 levels, fills 32 bits in that many products; and what
  // rounding takes once more is up to half a bit of each.
  if (!isExact && size <= kLargestFineSize)
    plan.finePairs = PairFactors(left, static_cast<std::size_t>(size));
  // Where more sums than one of sixteen stay open, double precision is as fast.
  plan.isFixedPoint = isExact || plan.tooLarge + plan.tooSmall < 1 << plan.fractionBits >> 4;
  return plan;
}

}  // namespace rastelo
