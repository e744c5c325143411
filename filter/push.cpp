#include "filter/push.h"

void rastelo::PushLevels(ImageView gray, int threshold, bool clearLow, bool raiseHigh) {
  for (std::int32_t y = 0; y < gray.height; ++y) {
    std::uint8_t* row = gray.Row(y);
    for (std::int32_t x = 0; x < gray.width; ++x) {
      const bool low = row[x] < threshold;
      if (low && clearLow) row[x] = 0;
      if (!low && raiseHigh) row[x] = 255;
    }
  }
}
