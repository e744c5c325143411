#ifndef RASTELO_PLAIN_IMAGE_H
#define RASTELO_PLAIN_IMAGE_H

#include "pixels/image_view.h"

namespace plain {

void ReduceToKeyColour(rastelo::ImageView bgr);

void SpreadRowsTopFirst(rastelo::ConstImageView pixels, int bitCount, rastelo::ImageView topFirst);

}  // namespace plain

#endif  // RASTELO_PLAIN_IMAGE_H
