#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace rastelo {

/// What rounding takes from factors is kept with so many bits more. Together, they give sums that
/// are off by less than kFineError.
constexpr int kFineBits = 15;
constexpr std::int32_t kFineError = 4;

/// Bytes of a strip of columns, which is convolved on its own.
constexpr std::ptrdiff_t kConvolvedStripBytes = 12288;

/// What a convolution goes by. By whole numbers, factors are the entries in fixed point, rounded. A
/// sum of their products with levels is too large by at most `tooLarge` and too small by at most
/// `tooSmall`, measured, as the sum is, in units of 2^-fractionBits; that holds against the sum of
/// the entries' products in double precision, with all its roundings. Both are 0 where no factor is
/// rounded.
struct ConvolvePlan {
  std::span<const double> entries;
  std::ptrdiff_t size, pixelBytes;
  bool isFixedPoint = false;  // else nothing of what follows
  int fractionBits = 0;
  std::int32_t tooLarge = 0, tooSmall = 0;
  /// For each two rows of the template, and for the last one with zeros, a factor of the first in
  /// the low half of 32 bits, one of the second in the high half.
  std::vector<std::int32_t> factorPairs = {};
  /// What rounding took from each, times 2^kFineBits; none if no factor was rounded, or if sums of
  /// 32 bits do not hold so many.
  std::vector<std::int32_t> finePairs = {};

  /// One half, in the units of sums.
  std::int32_t Half() const { return (1 << fractionBits) / 2; }
};

/// Plans for `size` x `size` entries, which the plan refers to, the most exact way that 32 bits
/// hold. Throws std::bad_alloc.
ConvolvePlan PlanConvolve(std::span<const double> entries, int size, int pixelBytes);

/// Of how many elements the ring holds a row: a strip, what lies beside it, and what whole vectors
/// may reach behind.
constexpr std::ptrdiff_t RingPitch(std::int32_t width, const ConvolvePlan& plan) {
  return std::min(kConvolvedStripBytes, width * plan.pixelBytes) + plan.size * plan.pixelBytes + 64;
}

}  // namespace rastelo
