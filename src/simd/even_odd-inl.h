// Included once for each instruction set, behind hwy/foreach_target.h.
#if defined(RASTELO_SIMD_EVEN_ODD_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RASTELO_SIMD_EVEN_ODD_INL_H_
#undef RASTELO_SIMD_EVEN_ODD_INL_H_
#else
#define RASTELO_SIMD_EVEN_ODD_INL_H_
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Lanes of twice the width.
template <class V>
using Wide = hn::RepartitionToWide<hn::DFromV<V>>;

/// The even lanes of unsigned numbers, widened in their places.
template <class V>
HWY_INLINE hn::Vec<Wide<V>> Even(V v) {
  const Wide<V> dWide;
  const auto low = static_cast<hn::TFromD<Wide<V>>>(hwy::LimitsMax<hn::TFromV<V>>());
  return hn::And(hn::BitCast(dWide, v), hn::Set(dWide, low));
}

/// The odd ones, each in the place of the even one before it.
template <class V>
HWY_INLINE hn::Vec<Wide<V>> Odd(V v) {
  return hn::ShiftRight<8 * sizeof(hn::TFromV<V>)>(hn::BitCast(Wide<V>(), v));
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
