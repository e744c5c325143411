#ifndef RASTELO_BENCH_PLAIN_GEOMETRY_H
#define RASTELO_BENCH_PLAIN_GEOMETRY_H

#include "image/image_view.h"

namespace plain {

void ZoomBilinear(rastelo::ConstImageView source, rastelo::ImageView target, int pixelBytes);

}  // namespace plain

#endif  // RASTELO_BENCH_PLAIN_GEOMETRY_H
