// Included once for each instruction set, behind hwy/foreach_target.h.
#if defined(RASTELO_FREQUENCY_MAGNITUDE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RASTELO_FREQUENCY_MAGNITUDE_INL_H_
#undef RASTELO_FREQUENCY_MAGNITUDE_INL_H_
#else
#define RASTELO_FREQUENCY_MAGNITUDE_INL_H_
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// re * re + im * im, in this order.
template <class V>
HWY_INLINE V SquaredMagnitude(V re, V im) {
  return hn::Add(hn::Mul(re, re), hn::Mul(im, im));
}

/// sqrt(square) / 100 in double precision, truncated, modulo 256; 0 from 2^63 on.
template <class D>
HWY_INLINE auto TruncatedMagnitudes(D df64, hn::Vec<D> square) {
  const auto magnitude = hn::Div(hn::Sqrt(square), hn::Set(df64, 100.0));
  // Exact: powers of 2, and a difference that has no more bits than the magnitude.
  const auto multiple =
      hn::Mul(hn::Floor(hn::Mul(magnitude, hn::Set(df64, 0x1p-8))), hn::Set(df64, 256.0));
  const auto isBelow = hn::Lt(magnitude, hn::Set(df64, 0x1p63));
  return hn::DemoteTo(hn::Rebind<std::int32_t, D>(),
                      hn::IfThenElseZero(isBelow, hn::Sub(magnitude, multiple)));
}

/// The low bytes of sqrt(square) / 100, truncated, of two vectors of squares; 0 from 2^63 on.
///
/// Single precision tells nearly all. There the conversion, the root, the constant and the product
/// are each off by up to 2^-24 (the constant twice, while the root halves the error before it),
/// less than 2^-21 together: the magnitude lies between `least` and `most`. Where a whole number is
/// between these, and from 2^23 on, double precision decides.
template <class D, class V>
HWY_INLINE auto MagnitudeBytes(D df64, V low, V high) {
  const hn::Repartition<float, D> df32;
  const hn::Half<decltype(df32)> half;
  const hn::Repartition<std::int32_t, D> d32;
  const hn::Rebind<std::uint8_t, decltype(d32)> d8;
  const auto root = hn::Sqrt(hn::Combine(df32, hn::DemoteTo(half, high), hn::DemoteTo(half, low)));
  const auto most = hn::Mul(root, hn::Set(df32, 0.01F * (1.0F + 0x1p-21F)));
  const auto least = hn::Sub(most, hn::Mul(most, hn::Set(df32, 0x1p-20F)));
  const auto estimate = hn::Floor(most);
  // The lowest bits of the sum of 2^23 and a smaller whole number are those of the number.
  auto truncated = hn::BitCast(d32, hn::Add(estimate, hn::Set(df32, 0x1p23F)));
  if (HWY_UNLIKELY(!hn::AllTrue(df32, hn::Ge(least, estimate))))
    truncated = hn::Combine(d32, TruncatedMagnitudes(df64, high), TruncatedMagnitudes(df64, low));
  return hn::DemoteTo(d8, hn::And(truncated, hn::Set(d32, 255)));
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
