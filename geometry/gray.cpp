#include "geometry/gray.h"

void rastelo::BgrToGray(ConstImageView bgr, ImageView gray) {
  for (std::int32_t y = 0; y < bgr.height; ++y) {
    const std::uint8_t* pixel = bgr.Row(y);
    std::uint8_t* level = gray.Row(y);
    for (std::int32_t x = 0; x < bgr.width; ++x, pixel += 3)
      level[x] = GrayLevel(pixel[0], pixel[1], pixel[2]);
  }
}
