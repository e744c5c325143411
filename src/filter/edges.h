#pragma once

#include "pixels/image_view.h"

namespace rastelo {

/// Writes to `edges` the length of the gradient of each pixel of `gray` (Sobel and Feldman 1968):
///     edges(x, y) = min(255, the whole number nearest to sqrt(gx^2 + gy^2)),
///     gx = (se + 2 e + ne) - (sw + 2 w + nw),  gy = (nw + 2 n + ne) - (sw + 2 s + se),
/// e, ne, n ... being the eight pixels around (x, y). Where one would lie outside the image, the
/// pixel of the image nearest to it takes its place. No root lies half way between two whole
/// numbers: (k + 1/2)^2 = k^2 + k + 1/4 is not whole.
/// @param gray, edges  W x H pixels of 1 byte. Bytes behind each row of `edges` are left alone.
/// Needs equal sizes and no overlap; neither is checked. W and H may be 0. Cannot fail.
void DetectEdges(ConstImageView gray, ImageView edges);

}  // namespace rastelo
