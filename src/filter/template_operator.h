#pragma once

#include "pixels/image_view.h"

namespace rastelo {

/// Replaces the pixels of an 8-bit image by min(255, |sum|), where
///     sum = trunc(pixel * entry + sum), in double precision,
/// runs over the `size` x `size` pixels around each, row by row: it loses its fraction at every
/// term. A sum keeps its low 32 bits. Pixels are written at once, rows upwards and columns
/// rightwards, and later ones read what has been written. Pixels whose neighbourhood leaves the
/// image stay, as do row 0 and column 0.
/// @param entries  `size` x `size` numbers, row by row, the first for the lowest row.
/// @param size     odd, at least 1.
void ApplyTemplate(ImageView gray, const double* entries, std::int32_t size);

}  // namespace rastelo
