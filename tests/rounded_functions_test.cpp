// Our exponentials and unit factors, judged by numbers of 113 bits.
#include "numeric/rounded_functions.h"

#include <gtest/gtest.h>
#include <quadmath.h>

#include <cmath>

namespace {

/// Expects the double nearest to a value that lies too far from the middle between two doubles for
/// an error of 2^-90 to matter.
void ExpectNearest(double ours, __float128 value) {
  ASSERT_EQ(ours, static_cast<double>(value));
  const __float128 ulp = std::ldexp(1.0, std::ilogb(ours) - 52);
  const __float128 toMiddle = ulp / 2 - fabsq(value - ours);
  ASSERT_GT(static_cast<double>(toMiddle / fabsq(value)), 0x1p-90);
}

TEST(RoundedExp, IsTheNearestDoubleForAllAffinities) {
  for (int square = 1; square <= 2; ++square)
    for (int difference = 0; difference < 256; ++difference) {
      const double x = -1.0 * (square * 0.25 + difference * difference / 625.0);
      ExpectNearest(rastelo::RoundedExp(x), expq(x));
    }
}

TEST(RoundedUnit, IsTheNearestDoubleForAllFactors) {
  // The factors of a smaller transform are among those of a larger one.
  constexpr int kCount = 1 << 20;
  for (int i = 1; i < kCount / 2; ++i) {
    const double angle = i * -6.283185307179586 / kCount;
    __float128 sine, cosine;
    sincosq(angle, &sine, &cosine);
    const Complex factor = rastelo::RoundedUnit(angle);
    ExpectNearest(factor.re, cosine);
    ExpectNearest(factor.im, sine);
  }
  const Complex first = rastelo::RoundedUnit(-0.0);
  EXPECT_EQ(first.re, 1.0);
  EXPECT_TRUE(first.im == 0.0 && std::signbit(first.im));
}

}  // namespace
