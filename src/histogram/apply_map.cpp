#include "histogram/gray_map.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "histogram/apply_map.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

#include "simd/planes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Where bytes cannot be permuted, Highway goes through memory, and a plain loop is faster.
constexpr bool kPermutesBytes = HWY_TARGET != HWY_EMU128;

/// The entries that levels choose from `kSize`. Where no instruction gathers from many bytes, the
/// low four bits choose from each sixteen entries, and then each further bit from two halves.
template <std::size_t kSize, class D, class V>
HWY_INLINE V Choose(D d8, const std::uint8_t* entries, V levels) {
  constexpr std::size_t kHalf = kSize / 2;
  if constexpr (kSize == 16) {
    const V low = hn::And(levels, hn::Set(d8, 15));
    return hn::TableLookupBytes(hn::LoadDup128(d8, entries), low);
  } else if constexpr (kSize == 128 && kHasBytePairs) {
    return PermutePair(hn::LoadU(d8, entries), hn::LoadU(d8, entries + kHalf), levels);
  } else {
    return hn::IfThenElse(hn::TestBit(levels, hn::Set(d8, kHalf)),
                          Choose<kHalf>(d8, entries + kHalf, levels),
                          Choose<kHalf>(d8, entries, levels));
  }
}

template <class D>
HWY_INLINE void MapVectors(D d8, const std::array<GrayMap, 1>& maps, std::uint8_t* levels) {
  hn::StoreU(Choose<256>(d8, maps[0].data(), hn::LoadU(d8, levels)), d8, levels);
}

template <class D>
HWY_INLINE void MapVectors(D d8, const std::array<GrayMap, 3>& maps, std::uint8_t* pixels) {
  auto blue = hn::Zero(d8), green = hn::Zero(d8), red = hn::Zero(d8);
  LoadPlanes(d8, pixels, blue, green, red);
  StorePlanes(d8, Choose<256>(d8, maps[0].data(), blue), Choose<256>(d8, maps[1].data(), green),
              Choose<256>(d8, maps[2].data(), red), pixels);
}

/// @param maps  a copy, which no pixel aliases.
template <std::size_t kPlanes>
void ApplyMaps(ImageView image, const std::array<GrayMap, kPlanes> maps) {
  const hn::ScalableTag<std::uint8_t> d8;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d8));
  const std::ptrdiff_t vectorised = kPermutesBytes ? image.width : 0;
  for (std::int32_t y = 0; y < image.height; ++y) {
    std::uint8_t* pixel = image.Row(y);
    std::ptrdiff_t x = 0;
    for (; x + lanes <= vectorised; x += lanes, pixel += kPlanes * hn::Lanes(d8))
      MapVectors(d8, maps, pixel);
    for (; x < image.width; ++x, pixel += kPlanes)
      for (std::size_t plane = 0; plane < kPlanes; ++plane)
        pixel[plane] = maps[plane][pixel[plane]];
  }
}

void ApplyMap(ImageView gray, const GrayMap& map) { ApplyMaps<1>(gray, {map}); }

void ApplyPlaneMaps(ImageView bgr, const std::array<GrayMap, 3>& maps) { ApplyMaps<3>(bgr, maps); }

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(ApplyMap);
HWY_EXPORT(ApplyPlaneMaps);

void ApplyMap(ImageView gray, const GrayMap& map) { HWY_DYNAMIC_DISPATCH(ApplyMap)(gray, map); }

void ApplyPlaneMaps(ImageView bgr, const std::array<GrayMap, 3>& maps) {
  HWY_DYNAMIC_DISPATCH(ApplyPlaneMaps)(bgr, maps);
}

}  // namespace rastelo

#endif  // HWY_ONCE
