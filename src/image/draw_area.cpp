#include "image/draw_area.h"

#include <algorithm>
#include <cstdlib>

rastelo::PannedStart rastelo::PlaceDrawArea(std::int32_t areaSide, std::int32_t imageSide,
                                            std::int32_t offset) {
  const std::int64_t base = std::max(0, Wrap32(std::int64_t{imageSide} - areaSide) / 2);
  const std::int64_t source = std::clamp<std::int64_t>(base + offset, 0, 2 * base);
  return {static_cast<std::int32_t>(source), std::abs(offset)};
}
