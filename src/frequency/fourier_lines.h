#pragma once

#include <memory>

#include "pixels/image_view.h"
#include "rastelo.h"

namespace rastelo {

/// The factors of a transform's first stage (twiddle factors): exp(-2 pi j i / 2^exponent) for i
/// from 0 to 2^exponent / 2 - 1. Every other one, and every fourth, are those of the halved and the
/// quartered length to the last bit. Throws std::bad_alloc.
std::shared_ptr<Complex[]> MakeFourierFactors(int exponent);

/// The discrete Fourier transform of lines of 2^exponent elements,
///     out(u) = sum over x of in(x) * exp(-2 pi j u x / 2^exponent),
/// without a scale factor, by the fast algorithm (Cooley and Tukey 1965) in `exponent` stages of
/// decimation in frequency (Gentleman and Sande 1966).
///
/// The lines that fill the lanes of vectors, one line a lane, are a group. A batch is one group or
/// several, whose stores alternate:
///
///     batch 0                    batch 1                            lines 0, 1, 2, ...
///     | group 0 | ... | group 3 | group 0 | ... | group 3 | ...     4 groups of 8 lines, say
struct FourierLines {
  /// Takes the memory for `lineCount` lines: 17 bytes an element of one line, or of a batch.
  /// `factors`, which must stay, are those of `factorExponent`, which may be larger than
  /// `exponent`. Throws std::bad_alloc.
  FourierLines(int exponent, std::int32_t lineCount, const Complex* factors, int factorExponent);

  /// out(H * u + y) = the transform of row y at u, of the first elements of H rows of levels.
  void TransformRows(ConstImageView levels, Complex* out) const;
  /// The same of H rows of W elements.
  void TransformRows(const Complex* elements, std::int32_t width, std::int32_t height,
                     Complex* out) const;
  /// out(H * x + v) = the transform of column x at v, of the first elements of `lineCount` columns
  /// of H elements. If `cells` is not null, cell H * shift(x) + shift(v) of W x H gets
  /// min(|F| / 100, 255), truncated; shift exchanges halves (FftShift).
  void TransformColumns(const Complex* columns, std::int32_t width, std::int32_t height,
                        Complex* out, std::uint8_t* cells) const;

  static constexpr std::ptrdiff_t kMaxLanes = 8;
  int exponent;
  std::int32_t lineCount;
  std::ptrdiff_t length;    // 2^exponent
  std::ptrdiff_t maxLanes;  // of a group, 1 or kMaxLanes
  std::ptrdiff_t groups;    // of a batch of rows. Rows store to columns a power of two apart, which
                            // share few sets of L1: neighbouring stores must follow each other.
  const Complex* factors;   // those of this exponent, `factorStep` apart
  std::ptrdiff_t factorStep;
  std::shared_ptr<double[]> work;         // 2 * groups * maxLanes * length
  std::shared_ptr<std::uint8_t[]> bytes;  // groups * maxLanes * length
};

}  // namespace rastelo
