#pragma once

#include "pixels/image_view.h"

namespace rastelo {

/// Flips an image upside down in place: row y and row H - 1 - y change places, all `pitch` bytes
/// of them. Cannot fail.
void ReverseRows(ImageView image);

}  // namespace rastelo
