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

/// Where the bytes of three planes lie among those of three vectors of pixels, and the other way
/// round: first the place among the first two vectors, then that among what these gave and the
/// third.
struct PlanePlaces {
  HWY_ALIGN std::uint8_t apart[3][2][64] = {}, together[3][2][64] = {};

  constexpr PlanePlaces() {
    for (std::uint8_t plane = 0; plane < 3; ++plane) {
      for (std::uint8_t i = 0; i < 64; ++i) {
        const int from = 3 * i + plane, to = 64 * plane + i;
        const bool isLast = from >= 128, isRed = to % 3 == 2;
        apart[plane][0][i] = static_cast<std::uint8_t>(isLast ? 0 : from);
        apart[plane][1][i] = static_cast<std::uint8_t>(isLast ? from - 64 : i);
        together[plane][0][i] = static_cast<std::uint8_t>(isRed ? 0 : to % 3 * 64 + to / 3);
        together[plane][1][i] = static_cast<std::uint8_t>(isRed ? 64 + to / 3 : i);
      }
    }
  }
};
inline constexpr PlanePlaces kPlanePlaces;

template <class D, class V>
HWY_INLINE V PermuteThree(D d, const std::uint8_t (&places)[2][64], V first, V second, V third) {
  const V both = PermutePair(first, second, hn::Load(d, places[0]));
  return PermutePair(both, third, hn::Load(d, places[1]));
}

/// Takes as many pixels of three bytes apart as a vector has bytes.
template <class D, class V>
HWY_INLINE void LoadPlanes(D d, const std::uint8_t* pixels, V& blue, V& green, V& red) {
  if constexpr (kHasBytePairs) {
    const V first = hn::LoadU(d, pixels), second = hn::LoadU(d, pixels + 64),
            third = hn::LoadU(d, pixels + 128);
    blue = PermuteThree(d, kPlanePlaces.apart[0], first, second, third);
    green = PermuteThree(d, kPlanePlaces.apart[1], first, second, third);
    red = PermuteThree(d, kPlanePlaces.apart[2], first, second, third);
  } else {
    hn::LoadInterleaved3(d, pixels, blue, green, red);
  }
}

/// Puts pixels together.
template <class D, class V>
HWY_INLINE void StorePlanes(D d, V blue, V green, V red, std::uint8_t* pixels) {
  if constexpr (kHasBytePairs) {
    for (std::size_t i = 0; i < 3; ++i)
      hn::StoreU(PermuteThree(d, kPlanePlaces.together[i], blue, green, red), d, pixels + 64 * i);
  } else {
    hn::StoreInterleaved3(blue, green, red, d, pixels);
  }
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
