#include "numeric/rounded_functions.h"

#include <array>
#include <cmath>
#include <cstddef>

#include "numeric/double_double.h"

namespace rastelo {
namespace {

constexpr DoubleDouble kOne{1.0}, kHalf{0.5}, kSixth = kOne / 6.0, kTwentyFourth = kOne / 24.0,
                                              kHundredTwentieth = kOne / 120.0;

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

struct Rotation {
  DoubleDouble cosine, sine;
};

/// By the angles of both.
Rotation operator*(const Rotation& a, const Rotation& b) {
  return {a.cosine * b.cosine + -(a.sine * b.sine), a.sine * b.cosine + a.cosine * b.sine};
}

/// By an angle of at most 2^-7, off by less than 2^-101, relatively: Taylor's series up to x^11,
/// the terms from x^6 on in doubles.
Rotation SmallRotation(const DoubleDouble& x) {
  const DoubleDouble square = x * x;
  const double q = square.high;
  const double cosineTail = -q / 720.0 * (1.0 - q / 56.0 * (1.0 - q / 90.0));
  const double sineTail = -q / 5040.0 * (1.0 - q / 72.0 * (1.0 - q / 110.0));
  return {square * (square * (kTwentyFourth + cosineTail) + -kHalf) + kOne,
          x * (square * (square * (kHundredTwentieth + sineTail) + -kSixth)) + x};
}

constexpr double kSteps = 64.0;  // a unit of angle

/// Rotations by 0, 1 / 64, 2 / 64 ... up to pi / 4, each from the one before. A step adds less than
/// 2^-100 to the relative error.
std::array<Rotation, 51> MakeRotations() {
  std::array<Rotation, 51> rotations{{{kOne, {}}}};
  const Rotation half = SmallRotation({0.5 / kSteps}), step = half * half;
  for (std::size_t i = 1; i < rotations.size(); ++i) rotations[i] = rotations[i - 1] * step;
  return rotations;
}

}  // namespace

// 2^k * (e^r)^32, e^r by Taylor's series up to r^12. The terms from r^6 on are doubles, which
// leaves 2^-101, relatively; a squaring doubles that.
double RoundedExp(double x) {
  const int exponent = static_cast<int>(x / kLogOfTwo.high - 0.5);
  const DoubleDouble multiple = kLogOfTwo * DoubleDouble{static_cast<double>(exponent)};
  DoubleDouble r = -multiple + x;
  r = {r.high / 32.0, r.low / 32.0};
  double tail = 0.0;
  for (int n = 12; n >= 6; --n) tail = (tail + 1.0) * r.high / n;
  DoubleDouble power = kHundredTwentieth + tail / 120.0;
  for (const DoubleDouble& coefficient : {kTwentyFourth, kSixth, kHalf, kOne, kOne})
    power = power * r + coefficient;
  for (int i = 0; i < 5; ++i) power = power * power;
  return std::ldexp(power.high, exponent);
}

// What is left beside quarter turns is an entry of a table and a small angle (Tang 1989).
Complex RoundedUnit(double angle) {
  static const auto rotations = MakeRotations();
  const int quarters = static_cast<int>(0.5 - angle / kHalfPi[0]);
  DoubleDouble rest = Reduce(-angle, quarters);
  const bool below = rest.high < 0.0;
  if (below) rest = -rest;
  const int steps = static_cast<int>(rest.high * kSteps + 0.5);
  const Rotation rotation = rotations[static_cast<std::size_t>(steps)] *
                            SmallRotation(DoubleDouble{rest.high - steps / kSteps} + rest.low);
  const double cosine = rotation.cosine.high,
               sine = below ? -rotation.sine.high : rotation.sine.high;
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
