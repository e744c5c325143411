#ifndef RASTELO_BENCH_PLAIN_GEOMETRY_H
#define RASTELO_BENCH_PLAIN_GEOMETRY_H

#include "geometry/rotate.h"
#include "image/image_view.h"

namespace plain {

void BgrToGray(rastelo::ConstImageView bgr, rastelo::ImageView gray);
void RotateQuarter(rastelo::ConstImageView source, int pixelBytes, rastelo::Turn turn,
                   rastelo::ImageView target);
void ZoomBilinear(rastelo::ConstImageView source, rastelo::ImageView target, int pixelBytes);

}  // namespace plain

#endif  // RASTELO_BENCH_PLAIN_GEOMETRY_H
