#pragma once

namespace rastelo {

/// A number of about 106 bits as the unevaluated sum of two doubles, `high` being the sum rounded
/// to the nearest double. Sums and products are off by a few units of 2^-104, relatively (Dekker
/// 1971; Joldes, Muller and Popescu 2017). Needs plain double arithmetic: no contraction into fused
/// operations, no extended registers; and factors below 2^996.
struct DoubleDouble {
  double high = 0.0, low = 0.0;

  constexpr DoubleDouble operator-() const { return {-high, -low}; }
};

/// a + b, exactly (Knuth 1969).
constexpr DoubleDouble ExactSum(double a, double b) {
  const double sum = a + b;
  const double partOfB = sum - a;
  return {sum, (a - (sum - partOfB)) + (b - partOfB)};
}

/// a + b, exactly, where |a| >= |b| or a is 0.
constexpr DoubleDouble ExactSumOfOrdered(double a, double b) {
  const double sum = a + b;
  return {sum, b - (sum - a)};
}

/// The upper 26 bits of a double, and the lower ones: products of halves are exact (Veltkamp 1968).
constexpr DoubleDouble Halve(double a) {
  const double scaled = 134217729.0 * a;  // 2^27 + 1
  const double high = scaled - (scaled - a);
  return {high, a - high};
}

/// a * b, exactly.
constexpr DoubleDouble ExactProduct(double a, double b) {
  const double product = a * b;
  const DoubleDouble x = Halve(a), y = Halve(b);
  const double low =
      ((x.high * y.high - product) + x.high * y.low + x.low * y.high) + x.low * y.low;
  return {product, low};
}

constexpr DoubleDouble operator+(const DoubleDouble& a, double b) {
  const DoubleDouble sum = ExactSum(a.high, b);
  return ExactSumOfOrdered(sum.high, sum.low + a.low);
}

constexpr DoubleDouble operator+(const DoubleDouble& a, const DoubleDouble& b) {
  const DoubleDouble high = ExactSum(a.high, b.high), low = ExactSum(a.low, b.low);
  const DoubleDouble sum = ExactSumOfOrdered(high.high, high.low + low.high);
  return ExactSumOfOrdered(sum.high, sum.low + low.low);
}

constexpr DoubleDouble operator*(const DoubleDouble& a, const DoubleDouble& b) {
  const DoubleDouble product = ExactProduct(a.high, b.high);
  return ExactSumOfOrdered(product.high, product.low + (a.high * b.low + a.low * b.high));
}

constexpr DoubleDouble operator/(const DoubleDouble& a, double b) {
  const double quotient = a.high / b;
  const DoubleDouble product = ExactProduct(quotient, b);
  const double rest = ((a.high - product.high) - product.low) + a.low;
  return ExactSumOfOrdered(quotient, rest / b);
}

}  // namespace rastelo
