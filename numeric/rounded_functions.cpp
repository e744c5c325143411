#include "numeric/rounded_functions.h"

#include <array>
#include <cmath>
#include <cstddef>

#include "numeric/double_double.h"

namespace rastelo {
namespace {

// The series end where a term is below 2^-110 of their sum: 0.35^28 / 28! and 0.79^28 / 28!.
constexpr std::size_t kTerms = 29;

/// 1 / n!
constexpr auto kInverseFactorials = [] {
  std::array<DoubleDouble, kTerms> inverse{};
  inverse[0] = {1.0, 0.0};
  for (std::size_t n = 1; n < kTerms; ++n) inverse[n] = inverse[n - 1] / static_cast<double>(n);
  return inverse;
}();

/// The Taylor series' terms `first`, `first` + `step`, ... as a polynomial of `x`.
DoubleDouble SumSeries(std::size_t first, std::size_t step, const DoubleDouble& x) {
  std::size_t n = first + (kTerms - 1 - first) / step * step;
  DoubleDouble sum = kInverseFactorials[n];
  while (n > first) {
    n -= step;
    sum = sum * x + kInverseFactorials[n];
  }
  return sum;
}

constexpr DoubleDouble kLogOfTwo = {0x1.62e42fefa39efp-1, 0x1.abc9e3b39803fp-56};

// Half of pi as the sum of three doubles: what is left of an angle beside a multiple of it can be
// as small as 2^-53, and is still known to 106 bits.
constexpr double kHalfPi[] = {0x1.921fb54442d18p+0, 0x1.1a62633145c07p-54, -0x1.f1976b7ed8fbcp-110};

/// arc - quarters * pi / 2
DoubleDouble Reduce(double arc, int quarters) {
  DoubleDouble rest = ExactSum(arc, -quarters * kHalfPi[0]);
  rest = rest + -quarters * kHalfPi[1];
  return rest + -quarters * kHalfPi[2];
}

}  // namespace

double RoundedExp(double x) {
  const int exponent = static_cast<int>(x / kLogOfTwo.high - 0.5);
  const DoubleDouble multiple = kLogOfTwo * DoubleDouble{static_cast<double>(exponent)};
  return std::ldexp(SumSeries(0, 1, -multiple + x).high, exponent);
}

Complex RoundedUnit(double angle) {
  const int quarters = static_cast<int>(0.5 - angle / kHalfPi[0]);
  const DoubleDouble rest = Reduce(-angle, quarters);
  const DoubleDouble square = -(rest * rest);  // the signs of the terms alternate
  const double cosine = SumSeries(0, 2, square).high, sine = (rest * SumSeries(1, 2, square)).high;
  switch (quarters) {
    case 0:
      return {cosine, -sine};
    case 1:
      return {-sine, -cosine};
    default:
      return {-cosine, sine};
  }
}

}  // namespace rastelo
