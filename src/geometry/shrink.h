#pragma once

#include "pixels/image_view.h"

namespace rastelo {

/// Averages `source` to the size of `target`: a target pixel is the mean of the area of the source
/// that it covers. A side of W source pixels and W' target pixels is W * W' units long; source
/// pixel i covers those from i * W' on, target pixel o those from o * W on, and of that
///     wx(o, i) = the units that both cover,
/// wy(p, k) likewise for rows. With the sum of wx(o, i) * wy(p, k) * source(i, k), for each plane
/// of a pixel on its own,
///     target(o, p) = floor((2 * sum + W * H) / (2 * W * H)),
/// the mean rounded to the nearest whole number, the upper one where two are equally near.
///
/// Each source row is read once, or twice where it lies across two target rows; besides, a target
/// row costs as much as its source row is wide. Half the size takes the least time, other whole
/// factors less than factors between them. Takes at most 35 bytes of memory for each column of
/// `source`, 65 for colours, and 10 KiB; none for half the size. Throws std::bad_alloc, with
/// nothing written.
/// @param source  W x H pixels of `pixelBytes` bytes, 1 or 3.
/// @param target  W' x H' pixels of the same. Bytes behind each row are left alone.
/// Needs 1 <= W' <= W and 1 <= H' <= H, or a target without pixels, and no overlap; none of this is
/// checked.
void ShrinkByArea(ConstImageView source, int pixelBytes, ImageView target);

}  // namespace rastelo
