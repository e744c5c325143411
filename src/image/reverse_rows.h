#ifndef RASTELO_IMAGE_REVERSE_ROWS_H
#define RASTELO_IMAGE_REVERSE_ROWS_H

#include "pixels/image_view.h"

namespace rastelo {

/// Flips an image upside down in place: row y and row H - 1 - y change places, all `pitch` bytes
/// of them. Cannot fail.
void ReverseRows(ImageView image);

}  // namespace rastelo

#endif  // RASTELO_IMAGE_REVERSE_ROWS_H
