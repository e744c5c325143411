#include "image/spread_rows.h"

#include <cstring>

void rastelo::SpreadRowsTopFirst(ConstImageView pixels, int bitCount, ImageView topFirst) {
  for (std::int32_t y = 0; y < pixels.height; ++y) {
    const std::uint8_t* from = pixels.Row(y);
    std::uint8_t* to = topFirst.Row(pixels.height - 1 - y);
    if (bitCount == 24) {
      std::memcpy(to, from, std::size_t{3} * static_cast<std::size_t>(pixels.width));
      continue;
    }
    for (std::int32_t x = 0; x < pixels.width; ++x, to += 3) to[0] = to[1] = to[2] = from[x];
  }
}
