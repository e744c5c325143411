#include "platform/portable/surface_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/portable/surface_rows.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Each block of four pixels gets the words that hold them, then each pixel its bytes.
struct Order {
  HWY_ALIGN std::uint32_t words[HWY_MAX_BYTES / 4] = {};
  HWY_ALIGN std::uint8_t bytes[HWY_MAX_BYTES] = {};

  constexpr Order() {
    for (std::uint32_t i = 0; i < HWY_MAX_BYTES / 4; ++i) words[i] = i / 4 * 3 + i % 4;
    for (std::uint32_t i = 0; i < HWY_MAX_BYTES; ++i)
      bytes[i] = i % 4 == 3 ? 0x80 : static_cast<std::uint8_t>(i % 16 / 4 * 3 + i % 4);
  }
};
constexpr Order kOrder;

void WidenPixels(const std::uint8_t* bgr, std::ptrdiff_t count, std::uint8_t* surface) {
  const hn::ScalableTag<std::uint8_t> d;
  const hn::Repartition<std::uint32_t, decltype(d)> pixels;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(pixels));
  const auto wordOf = hn::SetTableIndices(pixels, kOrder.words);
  const auto byteOf = hn::Load(d, kOrder.bytes);
  // A vector reads a third more than its pixels.
  for (; 3 * count >= 4 * lanes; count -= lanes, bgr += 3 * lanes, surface += 4 * lanes) {
    const auto block = hn::TableLookupLanes(hn::BitCast(pixels, hn::LoadU(d, bgr)), wordOf);
    hn::StoreU(hn::TableLookupBytesOr0(hn::BitCast(d, block), byteOf), d, surface);
  }
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
