#include "device/surface_rows.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "device/surface_rows.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "simd/pick_bytes-inl.h"

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
  const bool streams = DrawsPastCaches(bgr.width, bgr.height);
  for (std::int32_t y = 0; y < bgr.height; ++y)
    WidenRow(bgr.Row(y), bgr.width, y + 1 < bgr.height, streams, surface + y * pitch);
  if (streams) hwy::FlushStream();
}

/// Finds the groups whose source lies within reach of a lookup.
void PlanPicks(std::int32_t width, ColumnPicks& picks) {
  constexpr std::int32_t kPixels = kPickGroup / 4;
  picks.groups = 0;
  picks.row = nullptr;
  for (; 3 * width >= kPickReach && (picks.groups + 1) * kPixels <= picks.count; ++picks.groups) {
    const std::int32_t* columns = picks.columns + std::ptrdiff_t{picks.groups} * kPixels;
    std::ptrdiff_t places[kPickGroup];
    for (std::int32_t i = 0; i < kPickGroup; ++i) {
      const std::ptrdiff_t column = columns[i / 4];
      places[i] = 3 * column + std::min(i % 4, 2);
    }
    const std::ptrdiff_t first = std::ptrdiff_t{picks.groups} * kPickGroup;
    const auto start =
        PlanGroup(places, std::ptrdiff_t{3} * width, picks.lows + first, picks.highs + first);
    if (!start) return;
    picks.starts[picks.groups] = static_cast<std::int32_t>(*start);
  }
}

void PickRow(const std::uint8_t* row, const std::uint8_t* following, ColumnPicks& picks) {
  const hn::CappedTag<std::uint8_t, kPickGroup> d;
  const auto colours =
      hn::BitCast(d, hn::Set(hn::Repartition<std::uint32_t, decltype(d)>(), 0xFFFFFF));
  for (std::int32_t group = 0; group < picks.groups; ++group) {
    const std::ptrdiff_t first = std::ptrdiff_t{group} * kPickGroup;
    hwy::Prefetch(following + picks.starts[group]);
    const auto pixels =
        PickGroup(row + picks.starts[group], picks.lows + first, picks.highs + first);
    hn::Store(hn::And(pixels, colours), d, picks.picked + first);
  }
  for (std::int32_t i = picks.groups * kPickGroup / 4; i < picks.count; ++i) {
    std::uint8_t* to = picks.picked + std::ptrdiff_t{4} * i;
    std::memcpy(to, row + std::ptrdiff_t{3} * picks.columns[i], 3);
    to[3] = 0;
  }
}

void PickPixels(const std::uint8_t* row, const std::uint8_t* following, bool pastCaches,
                ColumnPicks& picks, std::uint8_t* surface) {
  if (row != picks.row) PickRow(row, following, picks);
  picks.row = row;
  const std::size_t count = std::size_t{4} * static_cast<std::size_t>(picks.count);
  if (pastCaches)
    StreamBytes(picks.picked, count, surface);
  else
    std::memcpy(surface, picks.picked, count);
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(WidenPixels);
HWY_EXPORT(PlanPicks);
HWY_EXPORT(PickPixels);

void WidenPixels(ConstImageView bgr, std::uint8_t* surface, std::ptrdiff_t pitch) {
  HWY_DYNAMIC_DISPATCH(WidenPixels)(bgr, surface, pitch);
}

void PlanPicks(std::int32_t width, ColumnPicks& picks) {
  HWY_DYNAMIC_DISPATCH(PlanPicks)(width, picks);
}

void PickPixels(const std::uint8_t* row, const std::uint8_t* following, bool pastCaches,
                ColumnPicks& picks, std::uint8_t* surface) {
  HWY_DYNAMIC_DISPATCH(PickPixels)(row, following, pastCaches, picks, surface);
}

void EndPicks() { hwy::FlushStream(); }

}  // namespace rastelo

#endif  // HWY_ONCE
