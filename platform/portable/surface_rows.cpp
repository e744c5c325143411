#include "platform/portable/surface_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/portable/surface_rows.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Bytes of an area that does not stay in the caches: written past them.
constexpr std::int64_t kStreamFrom = std::int64_t{1} << 20;

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

using Bytes = hn::ScalableTag<std::uint8_t>;
using Pixels = hn::Repartition<std::uint32_t, Bytes>;

/// Whether there is `more` source behind the row decides how far a vector may read.
void WidenRow(const std::uint8_t* bgr, std::int32_t count, bool more, bool streams,
              std::uint8_t* surface) {
  const Bytes d;
  const auto lanes = static_cast<std::int32_t>(hn::Lanes(Pixels()));
  const auto widened = [&](std::int32_t i) HWY_ATTR {
    const auto bytes = hn::LoadU(d, bgr + std::ptrdiff_t{3} * i);
    const auto block = hn::TableLookupLanes(hn::BitCast(Pixels(), bytes),
                                            hn::SetTableIndices(Pixels(), kOrder.words));
    return hn::TableLookupBytesOr0(hn::BitCast(d, block), hn::Load(d, kOrder.bytes));
  };
  const auto at = [&](std::int32_t i) { return surface + std::ptrdiff_t{4} * i; };
  // A vector reads a third more than its pixels.
  const std::int32_t last = count - (more ? lanes : (4 * lanes + 2) / 3);
  std::int32_t i = 0;
  if (last >= 0) {
    hn::StoreU(widened(0), d, surface);
    i = static_cast<std::int32_t>(-reinterpret_cast<std::uintptr_t>(surface) / 4 %
                                  hn::Lanes(Pixels()));
    if (i == 0) i = lanes;
    for (; i <= last; i += lanes)
      streams ? hn::Stream(widened(i), d, at(i)) : hn::StoreU(widened(i), d, at(i));
    if (more && i < count) {
      hn::StoreU(widened(last), d, at(last));
      i = count;
    }
  }
  for (; i < count; ++i) {
    const std::uint8_t* from = bgr + std::ptrdiff_t{3} * i;
    std::uint8_t* to = at(i);
    to[0] = from[0];
    to[1] = from[1];
    to[2] = from[2];
    to[3] = 0;
  }
}

void WidenPixels(ConstImageView bgr, std::uint8_t* surface, std::ptrdiff_t pitch) {
  const bool streams = std::int64_t{4} * bgr.width * bgr.height > kStreamFrom;
  for (std::int32_t y = 0; y < bgr.height; ++y)
    WidenRow(bgr.Row(y), bgr.width, y + 1 < bgr.height, streams, surface + y * pitch);
  if (streams) hwy::FlushStream();
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(WidenPixels);

void WidenPixels(ConstImageView bgr, std::uint8_t* surface, std::ptrdiff_t pitch) {
  HWY_DYNAMIC_DISPATCH(WidenPixels)(bgr, surface, pitch);
}

}  // namespace rastelo

#endif  // HWY_ONCE
