// Part of kernels, compiled for each instruction set: no include guard of the usual kind.
#if defined(RASTELO_FREQUENCY_MAGNITUDE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef RASTELO_FREQUENCY_MAGNITUDE_INL_H
#undef RASTELO_FREQUENCY_MAGNITUDE_INL_H
#else
#define RASTELO_FREQUENCY_MAGNITUDE_INL_H
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

/// |z|^2 as the magnitude's definition rounds it.
template <class V>
HWY_INLINE V SquaredMagnitude(V re, V im) {
  namespace hn = hwy::HWY_NAMESPACE;
  return hn::Add(hn::Mul(re, re), hn::Mul(im, im));
}

/// The low bytes of sqrt(square) / 100, truncated, of two vectors of squares; 0 from 2^63 on.
template <class D, class V>
HWY_INLINE auto MagnitudeBytes(D d, V low, V high) {
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::Repartition<float, D> single;
  const hn::Repartition<std::int32_t, D> whole;
  const hn::Half<decltype(single)> halfSingle;
  const hn::Half<decltype(whole)> halfWhole;
  const hn::Rebind<std::uint8_t, decltype(whole)> byte;
  // In single precision the conversion, the root, the constant and the product are off by up to
  // 2^-24 (the root halves what comes before it; the constant is rounded twice), less than 2^-21
  // together: the magnitude is between these bounds. They are too far apart from 2^23 on.
  const auto root =
      hn::Sqrt(hn::Combine(single, hn::DemoteTo(halfSingle, high), hn::DemoteTo(halfSingle, low)));
  const auto most = hn::Mul(root, hn::Set(single, 0.01F * (1.0F + 0x1p-21F)));
  const auto least = hn::Sub(most, hn::Mul(most, hn::Set(single, 0x1p-20F)));
  const auto estimate = hn::Floor(most);
  // The lowest bits of 2^23 and a smaller whole number are those of the number.
  auto truncated = hn::BitCast(whole, hn::Add(estimate, hn::Set(single, 0x1p23F)));
  if (HWY_UNLIKELY(!hn::AllTrue(single, hn::Ge(least, estimate)))) {
    const auto truncate = [=](V square) HWY_ATTR {
      const auto magnitude = hn::Div(hn::Sqrt(square), hn::Set(d, 100.0));
      // Exact: powers of 2, and a difference that has no more bits than the magnitude.
      const auto above =
          hn::Mul(hn::Floor(hn::Mul(magnitude, hn::Set(d, 0x1p-8))), hn::Set(d, 256.0));
      const auto isHeld = hn::Lt(magnitude, hn::Set(d, 0x1p63));
      return hn::DemoteTo(halfWhole, hn::IfThenElseZero(isHeld, hn::Sub(magnitude, above)));
    };
    truncated = hn::Combine(whole, truncate(high), truncate(low));
  }
  return hn::DemoteTo(byte, hn::And(truncated, hn::Set(whole, 255)));
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
