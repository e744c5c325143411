#pragma once

#include <array>
#include <span>

#include "pixels/image_view.h"

namespace rastelo {

/// How many pixels show each of the 256 levels.
using Histogram = std::array<std::int32_t, 256>;
using LevelCounts = std::span<const std::int32_t, 256>;

/// The levels of an 8-bit image.
Histogram CountLevels(ConstImageView gray);

/// The levels of each plane of a 24-bit image: blue, green, red.
std::array<Histogram, 3> CountPlaneLevels(ConstImageView bgr);

/// The levels of the first plane, blue or gray, of an image of 24 or 8 bits; none at other depths.
inline Histogram CountFirstPlane(ConstImageView image, int bitCount) {
  if (bitCount == 24) return CountPlaneLevels(image)[0];
  return bitCount == 8 ? CountLevels(image) : Histogram{};
}

/// The sum of all levels of an 8-bit image.
std::uint64_t SumLevels(ConstImageView gray);

/// trunc(sum of all levels / number of pixels) of an 8-bit image. Needs a pixel.
int MeanLevel(ConstImageView gray);

/// The same from the counts of such an image; 0 if there is no pixel.
int MeanOfCounts(LevelCounts counts);

}  // namespace rastelo
