#include "platform/portable/surface_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/portable/surface_rows.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

void WidenPixels(const std::uint8_t* bgr, std::ptrdiff_t count, std::uint8_t* surface) {
  const hn::FixedTag<std::uint8_t, 16> d;
  constexpr std::uint8_t kNone = 0x80;
  alignas(16) constexpr std::uint8_t kSpread[16] = {0, 1, 2, kNone, 3, 4,  5,  kNone,
                                                    6, 7, 8, kNone, 9, 10, 11, kNone};
  const auto spread = hn::Load(d, kSpread);
  // Four pixels a step; a step reads four bytes beyond them.
  for (; count >= 6; count -= 4, bgr += 12, surface += 16)
    hn::StoreU(hn::TableLookupBytesOr0(hn::LoadU(d, bgr), spread), d, surface);
  for (; count > 0; --count, bgr += 3, surface += 4) {
    surface[0] = bgr[0];
    surface[1] = bgr[1];
    surface[2] = bgr[2];
    surface[3] = 0;
  }
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(WidenPixels);

void WidenPixels(const std::uint8_t* bgr, std::ptrdiff_t count, std::uint8_t* surface) {
  HWY_DYNAMIC_DISPATCH(WidenPixels)(bgr, count, surface);
}

}  // namespace rastelo

#endif  // HWY_ONCE
