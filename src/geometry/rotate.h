#pragma once

#include "pixels/image_view.h"

namespace rastelo {

enum class QuarterTurn { kCounterClockwise, kClockwise };

/// Writes `source`, rotated by 90 degrees, to `target`. In terms of rows that run bottom-up,
///     counter-clockwise  target(j, i) = source(i, H - 1 - j)
///     clockwise          target(j, i) = source(W - 1 - i, j)
/// for pixel (column, row), 0 <= i < W, 0 <= j < H.
/// @param source      W x H pixels of `pixelBytes` bytes, 1 or 3.
/// @param target      H x W pixels of the same. Bytes behind column H - 1 are left alone.
/// Needs matching sizes and no overlap; neither is checked. Cannot fail.
void RotateQuarter(ConstImageView source, int pixelBytes, QuarterTurn turn, ImageView target);

}  // namespace rastelo
