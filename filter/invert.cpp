#include "filter/invert.h"

void rastelo::InvertBytes(ImageView image) {
  for (std::int32_t y = 0; y < image.height; ++y) {
    std::uint8_t* row = image.Row(y);
    for (std::int32_t x = 0; x < image.width; ++x) row[x] ^= 0xFF;  // 255 - v
  }
}
