// Included once for each instruction set, behind hwy/foreach_target.h.
#if defined(RASTELO_PLATFORM_PERMUTE_BYTES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RASTELO_PLATFORM_PERMUTE_BYTES_INL_H_
#undef RASTELO_PLATFORM_PERMUTE_BYTES_INL_H_
#else
#define RASTELO_PLATFORM_PERMUTE_BYTES_INL_H_
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_AVX3_DL

/// Whether one instruction picks any bytes from two vectors of 64: Highway has none for it.
constexpr bool kPermutesPairs = true;

/// The bytes of `low` and, from 64 on, of `high` that the low seven bits of `places` name.
template <class V>
HWY_INLINE V PermutePair(V low, V high, V places) {
  return V{_mm512_permutex2var_epi8(low.raw, places.raw, high.raw)};
}

#else

constexpr bool kPermutesPairs = false;

/// Never called: what calls it in a branch that is not taken compiles.
template <class V>
HWY_INLINE V PermutePair(V low, V, V) {
  return low;
}

#endif

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
