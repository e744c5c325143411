#include "filter/invert.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/invert.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

void InvertBytes(ImageView image) {
  for (std::int32_t y = 0; y < image.height; ++y) {
    std::uint8_t* row = image.Row(y);
    for (std::int32_t x = 0; x < image.width; ++x) row[x] ^= 0xFF;  // 255 - v
  }
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(InvertBytes);

void InvertBytes(ImageView image) { HWY_DYNAMIC_DISPATCH(InvertBytes)(image); }

}  // namespace rastelo

#endif  // HWY_ONCE
