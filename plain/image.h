#pragma once

#include "pixels/image_view.h"

namespace plain {

void ReduceToKeyColour(rastelo::ImageView bgr);

void SpreadRowsTopFirst(rastelo::ConstImageView pixels, int bitCount, rastelo::ImageView topFirst);

}  // namespace plain
