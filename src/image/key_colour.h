#pragma once

#include "pixels/image_view.h"

namespace rastelo {

/// Leaves two colours: a pixel with the bytes (255, 0, 255) stays, every other one becomes
/// (70, 51, 41).
/// @param bgr  W x H pixels of 3 bytes, blue, green, red. Bytes behind column W - 1 stay.
void ReduceToKeyColour(ImageView bgr);

}  // namespace rastelo
