#include "image/reverse_rows.h"

#include <algorithm>

void rastelo::ReverseRows(ImageView image) {
  for (std::int32_t y = 0; y < image.height / 2; ++y) {
    std::uint8_t* row = image.Row(y);
    std::swap_ranges(row, row + image.pitch, image.Row(image.height - 1 - y));
  }
}
