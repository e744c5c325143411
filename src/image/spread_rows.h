#pragma once

#include "pixels/image_view.h"

namespace rastelo {

/// Copies a bottom-up image to rows that stand top row first, three bytes a pixel: row y comes to
/// row H - 1 - y. A gray level fills all three bytes; blue, green, red stay in order.
/// @param pixels    W x H pixels of `bitCount` bits, 8 or 24.
/// @param topFirst  W x H pixels of 3 bytes. Bytes behind column W - 1 are left alone.
void SpreadRowsTopFirst(ConstImageView pixels, int bitCount, ImageView topFirst);

}  // namespace rastelo
