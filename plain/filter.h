#pragma once

#include <span>

#include "pixels/image_view.h"

namespace plain {

void ApplySobel(rastelo::ImageView gray);
void ApplyTemplate(rastelo::ImageView gray, const double* entries, std::int32_t size);
void DetectEdges(rastelo::ConstImageView gray, rastelo::ImageView edges);
void Convolve(rastelo::ConstImageView source, int pixelBytes, std::span<const double> entries,
              int size, rastelo::ImageView target);
void PushLevels(rastelo::ImageView gray, int threshold, bool clearLow, bool raiseHigh);
void InvertBytes(rastelo::ImageView image);
void EvenColumns(rastelo::ImageView gray, int limit);
bool ExceedsShare(rastelo::ConstImageView gray, int level, double share);

}  // namespace plain
