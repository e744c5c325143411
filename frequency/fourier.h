#ifndef RASTELO_FREQUENCY_FOURIER_H
#define RASTELO_FREQUENCY_FOURIER_H

#include <span>
#include <vector>

#include "image/image_view.h"
#include "rastelo.h"

namespace rastelo {

/// The largest r with 2^r not above `side`; 0 for a side below 2.
int TransformExponent(std::int32_t side);

/// The discrete Fourier transform of 2^r elements,
///     out(u) = sum over x of in(x) * exp(-2 pi j u x / 2^r),
/// in r stages of decimation in frequency (Gentleman and Sande 1966), without a scale factor. Takes
/// its memory when it is made: 24 bytes an element.
class FourierTransform {
 public:
  explicit FourierTransform(int exponent);
  /// `in` and `out` hold 2^r elements each and may be the same.
  void Run(const Complex* in, Complex* out);

 private:
  int exponent_;
  std::vector<Complex> factors_, work_;
};

/// The transform of W x H elements: rows, then columns.
class FourierPlane {
 public:
  /// Takes the memory for both sides. Needs sides above 0.
  FourierPlane(std::int32_t width, std::int32_t height);

  /// Transforms `first`, which holds H runs of W elements, into `second`: W runs of H coefficients,
  /// F(u, v) in element H * u + v. `first` then holds what the columns' transforms have read:
  /// element H * x + y is the transform of row y at x. Only the first 2^r elements of a row or
  /// column take part (TransformExponent); coefficients that no transform gives are 0.
  void Transform(Complex* first, Complex* second);

 private:
  std::int32_t width_, height_;
  FourierTransform rows_, columns_;
  std::size_t rowLength_, columnLength_;
};

/// Draws `count` coefficients as a map of bytes, W x H cells that run along v, the zero frequency
/// in the middle: the cell of F(u, v) holds |F(u, v)| / 100, truncated and at most 255.
/// Cells that no coefficient reaches are 0.
void DrawMagnitudes(const Complex* coefficients, std::int32_t width, std::int32_t height,
                    std::uint8_t* cells);

/// Sets to 0 each coefficient whose |F(u, v)| / 100 is above `limit`, all of them if it is no
/// number, and draws the map anew: the low byte of what stays, 0 for what went.
void CutMagnitudes(Complex* coefficients, std::int32_t width, std::int32_t height, double limit,
                   std::uint8_t* cells);

/// Draws the low byte of re / (W * H), truncated, of H runs of W elements as a map of rows with
/// exchanged quadrants. Cells that no element reaches are 0.
void DrawReconstruction(const Complex* elements, std::int32_t width, std::int32_t height,
                        std::uint8_t* cells);

}  // namespace rastelo

#endif  // RASTELO_FREQUENCY_FOURIER_H
