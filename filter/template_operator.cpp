#include "filter/template_operator.h"

#include <algorithm>
#include <cstdlib>

#include "image/truncate.h"

void rastelo::ApplyTemplate(ImageView gray, const double* entries, std::int32_t size) {
  const std::int32_t half = size / 2, first = std::max(1, half);
  for (std::int32_t y = first; y < gray.height - half; ++y) {
    for (std::int32_t x = first; x < gray.width - half; ++x) {
      const double* entry = entries;
      std::int32_t sum = 0;
      for (std::int32_t r = y - half; r <= y + half; ++r)
        for (std::int32_t c = x - half; c <= x + half; ++c)
          sum = LowInt32(gray.Row(r)[c] * *entry++ + sum);
      gray.Row(y)[x] =
          static_cast<std::uint8_t>(std::min<std::int64_t>(std::abs(std::int64_t{sum}), 255));
    }
  }
}
