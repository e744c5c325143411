#include "filter/sobel.h"

#include <algorithm>
#include <cmath>

void rastelo::ApplySobel(ImageView gray) {
  for (std::int32_t y = 1; y < gray.height - 1; ++y) {
    const std::uint8_t* below = gray.Row(y - 1);
    std::uint8_t* row = gray.Row(y);
    const std::uint8_t* above = gray.Row(y + 1);
    for (std::int32_t x = 1; x < gray.width - 1; ++x) {
      const int gx = (below[x + 1] - below[x - 1]) + 2 * (row[x + 1] - row[x - 1]) +
                     (above[x + 1] - above[x - 1]);
      const int gy = (above[x - 1] + 2 * above[x] + above[x + 1]) -
                     (below[x - 1] + 2 * below[x] + below[x + 1]);
      const auto length = static_cast<int>(std::sqrt(static_cast<double>(gx * gx + gy * gy)));
      row[x] = static_cast<std::uint8_t>(std::min(length, 255));
    }
  }
}
