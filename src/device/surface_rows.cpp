#include "device/surface_rows.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "device/surface_rows.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "simd/gather_bytes-inl.h"
#include "simd/non_temporal-inl.h"

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
  const bool streams = DrawsNonTemporally(bgr.width, bgr.height);
  for (std::int32_t y = 0; y < bgr.height; ++y)
    WidenRow(bgr.Row(y), bgr.width, y + 1 < bgr.height, streams, surface + y * pitch);
  if (streams) hwy::FlushStream();
}

void PlanColumns(std::int32_t width, ColumnGather& gather) {
  const auto placeOf = [&](std::int32_t byte) {
    return 3 * gather.columns[byte / 4] + std::min(byte % 4, 2);
  };
  PlanGather(4 * gather.count, 3 * width, placeOf, gather.plan);
  gather.row = nullptr;
}

void GatherRow(const std::uint8_t* row, const std::uint8_t* following, ColumnGather& gather) {
  const GatheredBytes d8;
  const hn::Repartition<std::uint32_t, GatheredBytes> d32;
  const auto colours = hn::BitCast(d8, hn::Set(d32, 0xFFFFFF));
  const auto clearFourths = [&](std::int32_t group, auto bytes) HWY_ATTR {
    hwy::Prefetch(following + gather.plan.windows[group]);
    return hn::And(bytes, colours);
  };
  const std::int32_t done = GatherBytes(gather.plan, row, clearFourths, gather.pixels) / 4;
  for (std::int32_t i = done; i < gather.count; ++i) {
    std::uint8_t* to = gather.pixels + std::ptrdiff_t{4} * i;
    std::memcpy(to, row + std::ptrdiff_t{3} * gather.columns[i], 3);
    to[3] = 0;
  }
}

void GatherPixels(const std::uint8_t* row, const std::uint8_t* following, bool nonTemporal,
                  ColumnGather& gather, std::uint8_t* surface) {
  if (row != gather.row) GatherRow(row, following, gather);
  gather.row = row;
  const std::size_t count = std::size_t{4} * static_cast<std::size_t>(gather.count);
  if (nonTemporal)
    CopyNonTemporal(gather.pixels, count, surface);
  else
    std::memcpy(surface, gather.pixels, count);
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(WidenPixels);
HWY_EXPORT(PlanColumns);
HWY_EXPORT(GatherPixels);

void WidenPixels(ConstImageView bgr, std::uint8_t* surface, std::ptrdiff_t pitch) {
  HWY_DYNAMIC_DISPATCH(WidenPixels)(bgr, surface, pitch);
}

void PlanColumns(std::int32_t width, ColumnGather& gather) {
  HWY_DYNAMIC_DISPATCH(PlanColumns)(width, gather);
}

void GatherPixels(const std::uint8_t* row, const std::uint8_t* following, bool nonTemporal,
                  ColumnGather& gather, std::uint8_t* surface) {
  HWY_DYNAMIC_DISPATCH(GatherPixels)(row, following, nonTemporal, gather, surface);
}

void EndGather() { hwy::FlushStream(); }

}  // namespace rastelo

#endif  // HWY_ONCE
