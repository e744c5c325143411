#ifndef RASTELO_BENCH_PLAIN_IMAGE_H
#define RASTELO_BENCH_PLAIN_IMAGE_H

#include "image/image_view.h"

namespace plain {

void ReduceToKeyColour(rastelo::ImageView bgr);

void SpreadRowsTopFirst(rastelo::ConstImageView pixels, int bitCount, rastelo::ImageView topFirst);

}  // namespace plain

#endif  // RASTELO_BENCH_PLAIN_IMAGE_H
