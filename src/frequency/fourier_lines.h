#ifndef RASTELO_FREQUENCY_FOURIER_LINES_H
#define RASTELO_FREQUENCY_FOURIER_LINES_H

#include <memory>

#include "pixels/image_view.h"
#include "rastelo.h"

namespace rastelo {

/// exp(-2 pi j i / 2^exponent) for i from 0 to 2^exponent / 2 - 1. Every other one, and every
/// fourth, are those of the halved and the quartered length to the last bit. Throws std::bad_alloc.
std::shared_ptr<Complex[]> MakeFourierFactors(int exponent);

/// The discrete Fourier transform of lines of 2^exponent elements,
///     out(u) = sum over x of in(x) * exp(-2 pi j u x / 2^exponent),
/// in `exponent` stages of decimation in frequency (Gentleman and Sande 1966), without a scale
/// factor.
struct FourierLines {
  /// Takes the memory for `lines` lines: 17 bytes an element of one line, or of as many as go side
  /// by side and by turns. `factors`, which must stay, are those of `factorExponent`, which may be
  /// larger than `exponent`. Throws std::bad_alloc.
  FourierLines(int exponent, std::int32_t lines, const Complex* factors, int factorExponent);

  /// out(H * u + y) = the transform of row y at u, of the first elements of H rows of levels.
  void TransformRows(ConstImageView levels, Complex* out) const;
  /// The same of H runs of W elements.
  void TransformRows(const Complex* elements, std::int32_t width, std::int32_t height,
                     Complex* out) const;
  /// out(H * x + v) = the transform of run x at v, of the first elements of runs of H: of as many
  /// runs as there are lines. If `cells` is not null, cell H * shift(x) + shift(v) of W x H gets
  /// min(|F| / 100, 255), truncated.
  void TransformRuns(const Complex* runs, std::int32_t width, std::int32_t height, Complex* out,
                     std::uint8_t* cells) const;

  static constexpr std::ptrdiff_t kLanes = 8;
  int exponent;
  std::int32_t lines;
  std::ptrdiff_t side;     // 2^exponent
  std::ptrdiff_t lanes;    // how many lines go side by side at most, 1 or kLanes
  std::ptrdiff_t groups;   // how many groups of them go by turns, so that the rows' stores spread
                           // over the sets of the near cache, which keeps an eighth of each group
  const Complex* factors;  // those of this exponent, `factorStep` apart
  std::ptrdiff_t factorStep;
  std::shared_ptr<double[]> work;         // 2 * groups * lanes * side
  std::shared_ptr<std::uint8_t[]> bytes;  // groups * lanes * side
};

}  // namespace rastelo

#endif  // RASTELO_FREQUENCY_FOURIER_LINES_H
