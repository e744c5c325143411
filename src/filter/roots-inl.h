// Included once for each instruction set, behind hwy/foreach_target.h.
#if defined(RASTELO_FILTER_ROOTS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RASTELO_FILTER_ROOTS_INL_H_
#undef RASTELO_FILTER_ROOTS_INL_H_
#else
#define RASTELO_FILTER_ROOTS_INL_H_
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// The whole numbers nearest to sqrt(n + shift) - shift, n being 16-bit numbers. The low bits of
/// the float 2^23 + n are those of n, and so are those of a root once adding 2^23 has rounded it.
template <class V>
HWY_INLINE V ShiftedRoots(V squares, float shift) {
  const hn::DFromV<V> d16;
  const hn::RepartitionToWide<decltype(d16)> d32;
  const hn::RebindToFloat<decltype(d32)> df;
  const auto offset = hn::Set(df, 0x1p23F - shift);
  const auto root = [&](auto number) HWY_ATTR {
    return hn::Add(hn::Sqrt(hn::Sub(hn::BitCast(df, number), offset)), offset);
  };
  const auto even = root(hn::OddEven(hn::Set(d16, 0x4B00), squares));
  const auto odd =
      root(hn::Or(hn::ShiftRight<16>(hn::BitCast(d32, squares)), hn::Set(d32, 0x4B000000)));
  return hn::OddEven(hn::BitCast(d16, hn::ShiftLeft<16>(hn::BitCast(d32, odd))),
                     hn::BitCast(d16, even));
}

/// The square roots of 16-bit numbers, truncated. That of n + 0.5 has the same whole part and lies
/// at least 1 / 1026 from whole numbers, 64 times the error of single precision.
template <class V>
HWY_INLINE V TruncatedRoots(V squares) {
  return ShiftedRoots(squares, 0.5F);
}

/// The whole numbers nearest to the square roots. The middle between two of them has the square
/// (k + 0.5)^2 = k^2 + k + 0.25, so that a root lies at least 1 / 2048 away from it, 32 times the
/// error of single precision.
template <class V>
HWY_INLINE V NearestRoots(V squares) {
  return ShiftedRoots(squares, 0.0F);
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
