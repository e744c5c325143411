#include "plain/frequency.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "numeric/rounded_functions.h"
#include "numeric/truncate.h"
#include "plain/torvex.h"

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

namespace {

int LargestExponent(std::int32_t side) {
  int exponent = 0;
  while (2 << exponent <= side) ++exponent;
  return exponent;
}

}  // namespace

void TransformPlane(Complex* first, Complex* second, std::int32_t width, std::int32_t height) {
  const int across = LargestExponent(width), along = LargestExponent(height);
  const auto w = static_cast<std::size_t>(width), h = static_cast<std::size_t>(height);
  std::fill_n(second, w * h, Complex{0.0, 0.0});
  for (std::size_t y = 0; y < h; ++y) RunTransform(first + w * y, second + w * y, across);
  for (std::size_t y = 0; y < h; ++y)
    for (std::size_t x = 0; x < w; ++x) first[h * x + y] = second[w * y + x];
  std::fill_n(second, w * h, Complex{0.0, 0.0});
  for (std::size_t x = 0; x < std::size_t{1} << across; ++x)
    RunTransform(first + h * x, second + h * x, along);
}

namespace {

std::size_t FftShift(std::size_t place, std::size_t side) {
  return place < side / 2 ? place + side / 2 : place - side / 2;
}

double Magnitude(const Complex& z) { return std::sqrt(z.re * z.re + z.im * z.im) / 100.0; }

/// Calls visit(coefficient, cell) for each in ascending v and, within it, u.
template <class Element, class Visit>
void VisitCoefficients(Element* coefficients, std::int32_t width, std::int32_t height,
                       std::uint8_t* cells, Visit visit) {
  const auto w = static_cast<std::size_t>(width), h = static_cast<std::size_t>(height);
  std::fill_n(cells, w * h, std::uint8_t{0});
  for (std::size_t v = 0; v < h; ++v)
    for (std::size_t u = 0; u < w; ++u)
      visit(coefficients[h * u + v], cells[h * FftShift(u, w) + FftShift(v, h)]);
}

}  // namespace

void DrawMagnitudes(const Complex* coefficients, std::int32_t width, std::int32_t height,
                    std::uint8_t* cells) {
  VisitCoefficients(coefficients, width, height, cells, [](const Complex& z, std::uint8_t& cell) {
    cell = LowByte(std::min(Magnitude(z), 255.0));
  });
}

void CutMagnitudes(Complex* coefficients, std::int32_t width, std::int32_t height, double limit,
                   std::uint8_t* cells) {
  VisitCoefficients(coefficients, width, height, cells, [=](Complex& z, std::uint8_t& cell) {
    const double magnitude = Magnitude(z);
    cell = limit >= magnitude ? LowByte(magnitude) : std::uint8_t{0};
    if (!(limit >= magnitude)) z = {0.0, 0.0};
  });
}

void InvertPlane(const Complex* coefficients, std::int32_t width, std::int32_t height,
                 std::uint8_t* cells) {
  const auto w = static_cast<std::size_t>(width), h = static_cast<std::size_t>(height);
  std::vector<Complex> first(coefficients, coefficients + w * h), second(w * h);
  for (Complex& z : first) z.im = -z.im;
  TransformPlane(first.data(), second.data(), width, height);
  std::fill_n(cells, w * h, std::uint8_t{0});
  for (std::size_t y = 0; y < h; ++y)
    for (std::size_t x = 0; x < w; ++x)
      cells[w * FftShift(y, h) + FftShift(x, w)] =
          LowByte(second[w * y + x].re / static_cast<double>(w * h));
}

}  // namespace plain
