// Included once for each instruction set, behind hwy/foreach_target.h.
#if defined(RASTELO_SIMD_BYTE_PAIRS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RASTELO_SIMD_BYTE_PAIRS_INL_H_
#undef RASTELO_SIMD_BYTE_PAIRS_INL_H_
#else
#define RASTELO_SIMD_BYTE_PAIRS_INL_H_
#endif

#include <hwy/highway.h>

/// Whether a target of Highway has PermutePair and MultiplyPairs as one instruction each. Better
/// targets have smaller numbers; those of other architectures are larger.
#define RASTELO_HAS_BYTE_PAIRS(target) ((target) <= HWY_AVX3_DL)

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

constexpr bool kHasBytePairs = RASTELO_HAS_BYTE_PAIRS(HWY_TARGET);

#if RASTELO_HAS_BYTE_PAIRS(HWY_TARGET)

/// The bytes of two vectors of 64, `low` and, from 64 on, `high`, that the low seven bits of
/// `places` name. Highway has no such operation for bytes, and none like the next.
template <class V>
HWY_INLINE V PermutePair(V low, V high, V places) {
  return V{_mm512_permutex2var_epi8(low.raw, places.raw, high.raw)};
}

/// For each pair of neighbouring bytes the sum of their products with those of `factors`, which are
/// signed. Sums stay below 2^15.
template <class V>
HWY_INLINE auto MultiplyPairs(V bytes, V factors) {
  return hn::Vec<hn::RepartitionToWide<hn::DFromV<V>>>{
      _mm512_maddubs_epi16(bytes.raw, factors.raw)};
}

#else

// Never called: they let a branch compile that is not taken.
template <class V>
HWY_INLINE V PermutePair(V low, V, V) {
  return low;
}
template <class V>
HWY_INLINE auto MultiplyPairs(V bytes, V) {
  return hn::BitCast(hn::RepartitionToWide<hn::DFromV<V>>(), bytes);
}

#endif

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
