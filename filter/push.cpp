#include "filter/push.h"

void rastelo::PushLevels(ImageView gray, int threshold, bool clearLow, bool raiseHigh) {
  const std::uint8_t kept = clearLow ? 0 : 255, raised = raiseHigh ? 255 : 0;
  for (std::int32_t y = 0; y < gray.height; ++y) {
    std::uint8_t* row = gray.Row(y);
    for (std::int32_t x = 0; x < gray.width; ++x)
      row[x] = static_cast<std::uint8_t>(row[x] < threshold ? row[x] & kept : row[x] | raised);
  }
}
