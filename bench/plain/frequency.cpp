#include "bench/plain/frequency.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "image/truncate.h"
#include "numeric/rounded_functions.h"
#include "platform/torvex.h"

namespace plain {

using namespace rastelo;

void RunTransform(const Complex* in, Complex* out, int exponent) {
  const int count = 1 << exponent;
  std::vector<Complex> factors, x(in, in + count), y(x.size());
  for (int i = 0; i < count / 2; ++i) {
    const double angle = i * -6.283185307179586 / count;
    factors.push_back(RoundedUnit(angle));
  }
  for (int stage = 0; stage < exponent; ++stage) {
    const int size = count >> stage;
    for (int base = 0; base < count; base += size) {
      for (int i = 0; i < size / 2; ++i) {
        const auto low = static_cast<std::size_t>(base + i);
        const auto high = low + static_cast<std::size_t>(size / 2);
        y[low] = Torvex::Add(x[low], x[high]);
        y[high] = Torvex::Mul(Torvex::Sub(x[low], x[high]),
                              factors[static_cast<std::size_t>(i << stage)]);
      }
    }
    x.swap(y);
  }
  for (int j = 0; j < count; ++j) {
    int reversed = 0;
    for (int bit = 0; bit < exponent; ++bit) reversed |= (j >> bit & 1) << (exponent - 1 - bit);
    out[j] = x[static_cast<std::size_t>(reversed)];
  }
}

void TransformPlane(Complex* first, Complex* second, int exponent) {
  const std::size_t side = std::size_t{1} << exponent;
  for (std::size_t y = 0; y < side; ++y)
    RunTransform(first + side * y, second + side * y, exponent);
  for (std::size_t y = 0; y < side; ++y)
    for (std::size_t x = 0; x < side; ++x) first[side * x + y] = second[side * y + x];
  for (std::size_t x = 0; x < side; ++x)
    RunTransform(first + side * x, second + side * x, exponent);
}

void CutMagnitudes(Complex* coefficients, int exponent, double limit, std::uint8_t* cells) {
  const std::size_t side = std::size_t{1} << exponent;
  std::fill_n(cells, side * side, std::uint8_t{0});
  for (std::size_t v = 0; v < side; ++v) {
    for (std::size_t u = 0; u < side; ++u) {
      Complex& z = coefficients[side * u + v];
      const double magnitude = std::sqrt(z.re * z.re + z.im * z.im) / 100.0;
      if (limit >= magnitude)
        cells[side * ((u + side / 2) % side) + (v + side / 2) % side] = LowByte(magnitude);
      else
        z = {0.0, 0.0};
    }
  }
}

void InvertPlane(const Complex* coefficients, int exponent, std::uint8_t* cells) {
  const std::size_t side = std::size_t{1} << exponent, count = side * side;
  std::vector<Complex> first(coefficients, coefficients + count), second(count);
  for (Complex& z : first) z.im = -z.im;
  TransformPlane(first.data(), second.data(), exponent);
  for (std::size_t y = 0; y < side; ++y)
    for (std::size_t x = 0; x < side; ++x)
      cells[side * ((y + side / 2) % side) + (x + side / 2) % side] =
          LowByte(second[side * y + x].re / static_cast<double>(count));
}

}  // namespace plain
