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

using Bytes = hn::ScalableTag<std::uint8_t>;
using Pixels = hn::Repartition<std::uint32_t, Bytes>;

/// Each block of four pixels gets the three words that hold them, then each pixel its bytes.
struct WideningPlaces {
  HWY_ALIGN std::uint32_t words[HWY_MAX_BYTES / 4] = {};
  HWY_ALIGN std::uint8_t bytes[HWY_MAX_BYTES] = {};

  constexpr WideningPlaces() {
    for (std::uint32_t i = 0; i < HWY_MAX_BYTES / 4; ++i) words[i] = i / 4 * 3 + i % 4;
    for (std::uint32_t i = 0; i < HWY_MAX_BYTES; ++i)
      bytes[i] = i % 4 == 3 ? 0x80 : static_cast<std::uint8_t>(i % 16 / 4 * 3 + i % 4);
  }
};
constexpr WideningPlaces kWideningPlaces;

/// A vector of widened pixels. Reads as many bytes as it gives, a third more than the pixels have.
HWY_INLINE hn::Vec<Bytes> Widen(const std::uint8_t* bgr) {
  const Bytes d8;
  const Pixels d32;
  const auto words = hn::TableLookupLanes(hn::BitCast(d32, hn::LoadU(d8, bgr)),
                                          hn::SetTableIndices(d32, kWideningPlaces.words));
  return hn::TableLookupBytesOr0(hn::BitCast(d8, words), hn::Load(d8, kWideningPlaces.bytes));
}

void WidenEach(const std::uint8_t* bgr, std::int32_t first, std::int32_t count,
               std::uint8_t* surface) {
  for (std::ptrdiff_t i = first; i < count; ++i) {
    for (std::ptrdiff_t c = 0; c < 3; ++c) surface[4 * i + c] = bgr[3 * i + c];
    surface[4 * i + 3] = 0;
  }
}

/// Whether there is `more` source behind the row decides how far a vector may read.
void WidenRow(const std::uint8_t* bgr, std::int32_t count, bool more, bool nonTemporal,
              std::uint8_t* surface) {
  const Bytes d8;
  const auto lanes = static_cast<std::int32_t>(hn::Lanes(Pixels()));
  const auto from = [&](std::int32_t i) { return bgr + std::ptrdiff_t{3} * i; };
  const auto to = [&](std::int32_t i) { return surface + std::ptrdiff_t{4} * i; };
  const std::int32_t last = count - (more ? lanes : (4 * lanes + 2) / 3);
  if (last < 0) return WidenEach(bgr, 0, count, surface);
  // From the second vector on, stores are aligned.
  hn::StoreU(Widen(bgr), d8, surface);
  const auto toAligned = static_cast<std::int32_t>(-reinterpret_cast<std::uintptr_t>(surface) / 4 %
                                                   hn::Lanes(Pixels()));
  std::int32_t i = toAligned == 0 ? lanes : toAligned;
  for (; i <= last; i += lanes)
    nonTemporal ? hn::Stream(Widen(from(i)), d8, to(i)) : hn::StoreU(Widen(from(i)), d8, to(i));
  if (more && i < count)
    hn::StoreU(Widen(from(last)), d8, to(last));
  else
    WidenEach(bgr, i, count, surface);
}

void WidenPixels(ConstImageView bgr, std::uint8_t* surface, std::ptrdiff_t pitch) {
  const bool nonTemporal = DrawsNonTemporally(bgr.width, bgr.height);
  for (std::int32_t y = 0; y < bgr.height; ++y)
    WidenRow(bgr.Row(y), bgr.width, y + 1 < bgr.height, nonTemporal, surface + y * pitch);
  if (nonTemporal) hwy::FlushStream();
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

}  // namespace rastelo

#endif  // HWY_ONCE
