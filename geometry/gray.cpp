#include "geometry/gray.h"

void rastelo::BgrToGray(ConstImageView bgr, ImageView gray) {
  for (std::int32_t y = 0; y < bgr.height; ++y) {
    const std::uint8_t* pixel = bgr.Row(y);
    std::uint8_t* level = gray.Row(y);
    for (std::int32_t x = 0; x < bgr.width; ++x, pixel += 3) {
      const double sum = pixel[1] * 0.587 + pixel[0] * 0.114;
      level[x] = static_cast<std::uint8_t>(sum + pixel[2] * 0.299);
    }
  }
}
