#pragma once

#include "frequency/fourier_lines.h"
#include "pixels/image_view.h"
#include "rastelo.h"

namespace rastelo {

/// The largest r with 2^r not above `side`; 0 for a side below 2.
int TransformExponent(std::int32_t side);

/// The Fourier transform of W x H elements: rows, then columns. Only the first 2^r elements of a
/// row or column take part (TransformExponent); all other coefficients are 0.
class FourierPlane {
 public:
  /// Takes the memory that FourierLines takes for rows and for columns. Needs sides above 0, and
  /// the factors of the longer one's exponent, which must stay. Throws std::bad_alloc.
  FourierPlane(std::int32_t width, std::int32_t height, const Complex* factors);

  /// Transforms W x H levels and draws the map of magnitudes.
  /// @param rows          Gets the transforms of the rows, W columns of H elements: that of row y
  ///                      at x in element H * x + y.
  /// @param coefficients  W columns of H elements, F(u, v) in element H * u + v.
  /// @param cells         W columns of H bytes, halves exchanged both ways (FftShift), so that the
  ///                      zero frequency is in the middle: the cell of F(u, v) gets
  ///                      min(|F(u, v)| / 100, 255), truncated. Cells that no coefficient reaches
  ///                      are 0.
  void Transform(ConstImageView levels, Complex* rows, Complex* coefficients,
                 std::uint8_t* cells) const;

  /// The same of H rows of W elements, without a map if `cells` is null. `elements` may be
  /// `coefficients`.
  void Transform(const Complex* elements, Complex* rows, Complex* coefficients,
                 std::uint8_t* cells) const;

 private:
  FourierPlane(std::int32_t width, std::int32_t height, const Complex* factors, int factorExponent);
  void TransformColumns(Complex* rows, Complex* coefficients, std::uint8_t* cells) const;
  std::int32_t width_, height_;
  FourierLines rows_, columns_;
};

/// Draws the low byte of re / (W * H), truncated, of H rows of W elements into rows of W cells,
/// halves exchanged both ways (FftShift). Cells that no element reaches are 0.
void DrawReconstruction(const Complex* elements, std::int32_t width, std::int32_t height,
                        std::uint8_t* cells);

}  // namespace rastelo
