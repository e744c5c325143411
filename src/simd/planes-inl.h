// Included once for each instruction set, behind hwy/foreach_target.h.
#if defined(RASTELO_SIMD_PLANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RASTELO_SIMD_PLANES_INL_H_
#undef RASTELO_SIMD_PLANES_INL_H_
#else
#define RASTELO_SIMD_PLANES_INL_H_
#endif

#include <hwy/highway.h>

#include "simd/byte_pairs-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Where the bytes of each plane lie in three vectors of pixels, and where those of each vector of
/// pixels lie in the three planes: first the place among the first two vectors, then that among
/// what these gave and the third.
struct PlanePlaces {
  HWY_ALIGN std::uint8_t split[3][2][64] = {}, joined[3][2][64] = {};

  constexpr PlanePlaces() {
    for (std::uint8_t plane = 0; plane < 3; ++plane) {
      for (std::uint8_t i = 0; i < 64; ++i) {
        const int from = 3 * i + plane, to = 64 * plane + i;
        const bool isLast = from >= 128, isRed = to % 3 == 2;
        split[plane][0][i] = static_cast<std::uint8_t>(isLast ? 0 : from);
        split[plane][1][i] = static_cast<std::uint8_t>(isLast ? from - 64 : i);
        joined[plane][0][i] = static_cast<std::uint8_t>(isRed ? 0 : to % 3 * 64 + to / 3);
        joined[plane][1][i] = static_cast<std::uint8_t>(isRed ? 64 + to / 3 : i);
      }
    }
  }
};
inline constexpr PlanePlaces kPlanePlaces;

template <class D, class V>
HWY_INLINE V PermuteThree(D d8, const std::uint8_t (&places)[2][64], V first, V second, V third) {
  const V both = PermutePair(first, second, hn::Load(d8, places[0]));
  return PermutePair(both, third, hn::Load(d8, places[1]));
}

/// Splits as many pixels of three bytes as a vector has bytes into planes.
template <class D, class V>
HWY_INLINE void LoadPlanes(D d8, const std::uint8_t* pixels, V& blue, V& green, V& red) {
  if constexpr (kHasBytePairs) {
    const V first = hn::LoadU(d8, pixels), second = hn::LoadU(d8, pixels + 64),
            third = hn::LoadU(d8, pixels + 128);
    blue = PermuteThree(d8, kPlanePlaces.split[0], first, second, third);
    green = PermuteThree(d8, kPlanePlaces.split[1], first, second, third);
    red = PermuteThree(d8, kPlanePlaces.split[2], first, second, third);
  } else {
    hn::LoadInterleaved3(d8, pixels, blue, green, red);
  }
}

/// Joins planes to pixels.
template <class D, class V>
HWY_INLINE void StorePlanes(D d8, V blue, V green, V red, std::uint8_t* pixels) {
  if constexpr (kHasBytePairs) {
    for (std::size_t i = 0; i < 3; ++i)
      hn::StoreU(PermuteThree(d8, kPlanePlaces.joined[i], blue, green, red), d8, pixels + 64 * i);
  } else {
    hn::StoreInterleaved3(blue, green, red, d8, pixels);
  }
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
