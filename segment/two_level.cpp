#include "segment/two_level.h"

void rastelo::ClearBelow(ImageView image, int threshold) {
  for (std::int32_t y = 0; y < image.height; ++y) {
    std::uint8_t* row = image.Row(y);
    for (std::int32_t x = 0; x < image.width; ++x) row[x] = row[x] < threshold ? 0 : row[x];
  }
}

void rastelo::SplitAt(ImageView image, int threshold) {
  for (std::int32_t y = 0; y < image.height; ++y) {
    std::uint8_t* row = image.Row(y);
    for (std::int32_t x = 0; x < image.width; ++x) row[x] = row[x] < threshold ? 0 : 255;
  }
}
