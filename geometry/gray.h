#ifndef RASTELO_GEOMETRY_GRAY_H
#define RASTELO_GEOMETRY_GRAY_H

#include "image/image_view.h"

namespace rastelo {

/// Writes to `gray` the gray level of each pixel of `bgr`,
///     gray(x, y) = trunc((green * 0.587 + blue * 0.114) + red * 0.299),
/// in double precision, each product and each sum rounded once. The weights are the luma weights
/// of ITU-R BT.601 (1982).
/// @param bgr   W x H pixels of 3 bytes, blue, green, red.
/// @param gray  W x H pixels of 1 byte. Bytes behind column W - 1 are left alone.
/// Needs equal sizes and no overlap; neither is checked. Cannot fail.
void BgrToGray(ConstImageView bgr, ImageView gray);

}  // namespace rastelo

#endif  // RASTELO_GEOMETRY_GRAY_H
