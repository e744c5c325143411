#include "frequency/fourier.h"

#include <algorithm>
#include <bit>

#include "frequency/fft_shift.h"
#include "numeric/truncate.h"

namespace rastelo {
namespace {

constexpr Complex kZero{0.0, 0.0};

/// Zeros what is not transformed of W columns of H elements: the first `count` columns from
/// element `begin` on, and all other columns.
void ZeroRest(Complex* columns, std::ptrdiff_t count, std::ptrdiff_t begin, std::ptrdiff_t width,
              std::ptrdiff_t height) {
  for (std::ptrdiff_t x = 0; x < count; ++x)
    std::fill(columns + height * x + begin, columns + height * (x + 1), kZero);
  std::fill(columns + height * count, columns + height * width, kZero);
}

/// Zeros the cells of the last row and column of odd sides: FftShift takes them to cells that
/// others have drawn.
void ZeroOddCells(std::uint8_t* cells, std::ptrdiff_t width, std::ptrdiff_t height) {
  if (width % 2 != 0 && width > 1)
    std::fill_n(cells + height * FftShift(width - 1, width), height, std::uint8_t{0});
  if (height % 2 != 0 && height > 1)
    for (std::ptrdiff_t u = 0; u < width; ++u) cells[height * u + FftShift(height - 1, height)] = 0;
}

}  // namespace

int TransformExponent(std::int32_t side) {
  return side < 2 ? 0 : static_cast<int>(std::bit_width(static_cast<std::uint32_t>(side))) - 1;
}

FourierPlane::FourierPlane(std::int32_t width, std::int32_t height, const Complex* factors)
    : FourierPlane(width, height, factors, TransformExponent(std::max(width, height))) {}

FourierPlane::FourierPlane(std::int32_t width, std::int32_t height, const Complex* factors,
                           int factorExponent)
    : width_(width),
      height_(height),
      rows_(TransformExponent(width), height, factors, factorExponent),
      columns_(TransformExponent(height), 1 << TransformExponent(width), factors, factorExponent) {}

void FourierPlane::Transform(ConstImageView levels, Complex* rows, Complex* coefficients,
                             std::uint8_t* cells) const {
  rows_.TransformRows(levels, rows);
  TransformColumns(rows, coefficients, cells);
}

void FourierPlane::Transform(const Complex* elements, Complex* rows, Complex* coefficients,
                             std::uint8_t* cells) const {
  rows_.TransformRows(elements, width_, height_, rows);
  TransformColumns(rows, coefficients, cells);
}

void FourierPlane::TransformColumns(Complex* rows, Complex* coefficients,
                                    std::uint8_t* cells) const {
  ZeroRest(rows, rows_.length, height_, width_, height_);
  if (cells && (rows_.length != width_ || columns_.length != height_))
    std::fill_n(cells, std::ptrdiff_t{width_} * height_, std::uint8_t{0});
  columns_.TransformColumns(rows, width_, height_, coefficients, cells);
  ZeroRest(coefficients, rows_.length, columns_.length, width_, height_);
  if (cells) ZeroOddCells(cells, width_, height_);
}

void DrawReconstruction(const Complex* elements, std::int32_t width, std::int32_t height,
                        std::uint8_t* cells) {
  const std::ptrdiff_t count = std::ptrdiff_t{width} * height;
  std::fill_n(cells, count, std::uint8_t{0});
  for (std::ptrdiff_t y = 0; y < height; ++y) {
    std::uint8_t* row = cells + width * FftShift(y, height);
    for (std::ptrdiff_t x = 0; x < width; ++x)
      row[FftShift(x, width)] = LowByte(elements[width * y + x].re / static_cast<double>(count));
  }
}

}  // namespace rastelo
