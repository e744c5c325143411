#pragma once

#include "pixels/image_view.h"

namespace plain {

void ReduceToKeyColour(rastelo::ImageView bgr);

}  // namespace plain
