#pragma once

#include "pixels/image_view.h"

namespace rastelo {

/// Replaces each inner pixel of an 8-bit image by the length of its gradient (Sobel and Feldman
/// 1968), min(255, trunc(sqrt(gx^2 + gy^2))). Pixels are written at once, rows upwards and columns
/// rightwards, and later ones read what has been written. The outer ring stays.
void ApplySobel(ImageView gray);

}  // namespace rastelo
