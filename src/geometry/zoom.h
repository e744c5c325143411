#pragma once

#include <optional>

#include "pixels/image_view.h"

namespace rastelo {

/// Samples `source` bilinearly to the size of `target`. With (s, f) the whole number and the
/// fraction of column * (W of source / W of target), and (t, g) those of the row,
///     value = ((A * (1-f)(1-g) + B * f(1-g)) + C * (1-f)g) + D * fg, truncated,
/// all in single precision, each step rounded once. A is source pixel (s, t), B its neighbour in
/// column s + 1, C in row t + 1, D in both; at the last column and row, in column s - 1 and row
/// t - 1. A missing neighbour is the pixel itself.
///
/// Depths may differ: a colour source gives a gray target the levels of BgrToGray, a gray source
/// fills all three bytes of a colour target.
/// @param sourceBytes, targetBytes  bytes of a pixel, 1 or 3.
/// Bytes behind each row of `target` stay. Needs a source pixel if the target has any.
void ZoomBilinear(ConstImageView source, int sourceBytes, ImageView target, int targetBytes);

/// trunc(side * factor + 0.5), or nothing if that is no side: negative, above 2^31 - 1, or no
/// number.
std::optional<std::int32_t> ZoomSide(std::int32_t side, double factor);

}  // namespace rastelo
