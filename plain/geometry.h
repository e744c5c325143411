#pragma once

#include "geometry/rotate.h"
#include "pixels/image_view.h"

namespace plain {

void BgrToGray(rastelo::ConstImageView bgr, rastelo::ImageView gray);
void RotateQuarter(rastelo::ConstImageView source, int pixelBytes, rastelo::QuarterTurn turn,
                   rastelo::ImageView target);
void ZoomBilinear(rastelo::ConstImageView source, rastelo::ImageView target, int pixelBytes);

void ShrinkByArea(rastelo::ConstImageView source, int pixelBytes, rastelo::ImageView target);

}  // namespace plain
