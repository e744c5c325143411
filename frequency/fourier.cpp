#include "frequency/fourier.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <utility>

#include "image/truncate.h"
#include "numeric/rounded_functions.h"
#include "platform/torvex.h"

namespace rastelo {
namespace {

constexpr double kMinusTwoPi = -6.283185307179586;

/// Moves place 0 of a side to its middle.
std::int32_t HalfShift(std::int32_t place, std::int32_t side) {
  return place < side / 2 ? place + side / 2 : place - side / 2;
}

double Magnitude(const Complex& z) { return std::sqrt(z.re * z.re + z.im * z.im) / 100.0; }

std::size_t Cells(std::int32_t width, std::int32_t height) {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

/// Calls visit(element, cell) for each coefficient in ascending v and, within it, u.
template <class Element, class Visit>
void VisitCoefficients(Element* elements, std::int32_t width, std::int32_t height,
                       std::uint8_t* cells, Visit visit) {
  std::fill_n(cells, Cells(width, height), std::uint8_t{0});
  for (std::int32_t v = 0; v < height; ++v) {
    for (std::int32_t u = 0; u < width; ++u) {
      const std::ptrdiff_t run = std::ptrdiff_t{height} * HalfShift(u, width);
      visit(elements[std::ptrdiff_t{height} * u + v], cells[run + HalfShift(v, height)]);
    }
  }
}

/// to(column * height + row) = from(row * width + column), in squares that fit the near cache.
void Transpose(const Complex* from, std::int32_t width, std::int32_t height, Complex* to) {
  constexpr std::int32_t kTile = 16;
  for (std::int32_t top = 0; top < height; top += kTile)
    for (std::int32_t left = 0; left < width; left += kTile)
      for (std::int32_t x = left; x < std::min(left + kTile, width); ++x)
        for (std::int32_t y = top; y < std::min(top + kTile, height); ++y)
          to[std::ptrdiff_t{height} * x + y] = from[std::ptrdiff_t{width} * y + x];
}

}  // namespace

int TransformExponent(std::int32_t side) {
  return side < 2 ? 0 : static_cast<int>(std::bit_width(static_cast<std::uint32_t>(side))) - 1;
}

FourierTransform::FourierTransform(int exponent)
    : exponent_(exponent),
      factors_((std::size_t{1} << exponent) / 2),
      work_(std::size_t{1} << exponent) {
  for (std::size_t i = 0; i < factors_.size(); ++i) {
    const double angle = static_cast<double>(i) * kMinusTwoPi / static_cast<double>(work_.size());
    factors_[i] = RoundedUnit(angle);
  }
}

void FourierTransform::Run(const Complex* in, Complex* out) {
  const std::size_t count = work_.size();
  std::copy_n(in, count, work_.begin());
  for (int stage = 0; stage < exponent_; ++stage) {
    const std::size_t size = count >> stage, half = size / 2;
    for (std::size_t base = 0; base < count; base += size) {
      for (std::size_t i = 0; i < half; ++i) {
        // Each pair depends on itself alone, so that a stage can write where it has read.
        Complex& low = work_[base + i];
        Complex& high = work_[base + i + half];
        const Complex difference = Torvex::Sub(low, high);
        low = Torvex::Add(low, high);
        high = Torvex::Mul(difference, factors_[i << stage]);
      }
    }
  }
  std::size_t reversed = 0;  // the bits of the place in reverse order
  for (std::size_t place = 0; place < count; ++place) {
    out[place] = work_[reversed];
    std::size_t bit = count / 2;
    while (bit != 0 && (reversed & bit) != 0) {
      reversed ^= bit;
      bit /= 2;
    }
    reversed |= bit;
  }
}

FourierPlane::FourierPlane(std::int32_t width, std::int32_t height)
    : width_(width),
      height_(height),
      rows_(TransformExponent(width)),
      columns_(TransformExponent(height)),
      rowLength_(std::size_t{1} << TransformExponent(width)),
      columnLength_(std::size_t{1} << TransformExponent(height)) {}

void FourierPlane::Transform(Complex* first, Complex* second) {
  const auto w = static_cast<std::size_t>(width_), h = static_cast<std::size_t>(height_);
  const Complex zero{0.0, 0.0};
  for (std::size_t y = 0; y < h; ++y) {
    rows_.Run(first + w * y, second + w * y);
    std::fill(second + w * y + rowLength_, second + w * (y + 1), zero);
  }
  Transpose(second, width_, height_, first);
  std::fill(second, second + w * h, zero);
  for (std::size_t x = 0; x < rowLength_; ++x) columns_.Run(first + h * x, second + h * x);
}

void DrawMagnitudes(const Complex* coefficients, std::int32_t width, std::int32_t height,
                    std::uint8_t* cells) {
  VisitCoefficients(coefficients, width, height, cells, [](const Complex& z, std::uint8_t& cell) {
    cell = LowByte(std::min(Magnitude(z), 255.0));
  });
}

void CutMagnitudes(Complex* coefficients, std::int32_t width, std::int32_t height, double limit,
                   std::uint8_t* cells) {
  VisitCoefficients(coefficients, width, height, cells, [&](Complex& z, std::uint8_t& cell) {
    const double magnitude = Magnitude(z);
    if (limit >= magnitude) {
      cell = LowByte(magnitude);
    } else {
      cell = 0;
      z = {0.0, 0.0};
    }
  });
}

void DrawReconstruction(const Complex* elements, std::int32_t width, std::int32_t height,
                        std::uint8_t* cells) {
  const auto count = static_cast<double>(Cells(width, height));
  std::fill_n(cells, Cells(width, height), std::uint8_t{0});
  for (std::int32_t y = 0; y < height; ++y) {
    std::uint8_t* row = cells + std::ptrdiff_t{width} * HalfShift(y, height);
    for (std::int32_t x = 0; x < width; ++x)
      row[HalfShift(x, width)] = LowByte(elements[std::ptrdiff_t{width} * y + x].re / count);
  }
}

}  // namespace rastelo
