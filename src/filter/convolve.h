#pragma once

#include <span>

#include "pixels/image_view.h"

namespace rastelo {

/// Writes to `target` the sum of the products of a template's entries with the pixels around each
/// pixel of `source`. With h = (size - 1) / 2, for each plane of a pixel on its own,
///     sum = 0; sum = sum + entries[(b + h) * size + (a + h)] * source(x + a, y + b)
/// for b from -h to h and, within, a from -h to h, in double precision, each product and each sum
/// rounded once; then
///     target(x, y) = the whole number nearest to sum, the upper one where two are equally near,
/// at least 0 and at most 255; 0 where the sum is no number. So this is a correlation, nothing is
/// flipped, and the first `size` entries are those of the lowest row. Where (x + a, y + b) lies
/// outside the image, the pixel of the image nearest to it takes its place.
///
/// Entries may be any doubles. Those of which all are small multiples of a power of two, and most
/// others, are summed by whole numbers, as fast whatever they are; the result is the same. The cost
/// grows with the number of entries. Takes 4 * size bytes of memory for each byte of a row, as far
/// as these are the first 12288, and for each of size * pixelBytes + 64 more. Throws
/// std::bad_alloc, with nothing written.
/// @param source, target  W x H pixels of `pixelBytes` bytes, 1 or 3. Bytes behind each row of
///                        `target` are left alone.
/// @param entries         `size` x `size` numbers, row by row.
/// @param size            odd, at least 1.
/// Needs equal sizes and no overlap; neither is checked. W and H may be 0.
void Convolve(ConstImageView source, int pixelBytes, std::span<const double> entries, int size,
              ImageView target);

}  // namespace rastelo
