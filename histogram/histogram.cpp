#include "histogram/histogram.h"

namespace rastelo {

Histogram CountLevels(ConstImageView gray) {
  Histogram counts{};
  for (std::int32_t y = 0; y < gray.height; ++y) {
    const std::uint8_t* row = gray.Row(y);
    for (std::int32_t x = 0; x < gray.width; ++x) ++counts[row[x]];
  }
  return counts;
}

std::array<Histogram, 3> CountPlaneLevels(ConstImageView bgr) {
  std::array<Histogram, 3> counts{};
  for (std::int32_t y = 0; y < bgr.height; ++y) {
    const std::uint8_t* pixel = bgr.Row(y);
    for (std::int32_t x = 0; x < bgr.width; ++x, pixel += 3)
      for (std::size_t plane = 0; plane < 3; ++plane) ++counts[plane][pixel[plane]];
  }
  return counts;
}

int MeanLevel(ConstImageView gray) {
  std::int64_t sum = 0;
  for (std::int32_t y = 0; y < gray.height; ++y) {
    const std::uint8_t* row = gray.Row(y);
    for (std::int32_t x = 0; x < gray.width; ++x) sum += row[x];
  }
  return static_cast<int>(sum / (std::int64_t{gray.width} * gray.height));
}

}  // namespace rastelo
