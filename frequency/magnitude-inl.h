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

/// The low byte of sqrt(square) / 100, truncated; 0 from 2^63 on.
template <class D, class V>
HWY_INLINE hwy::HWY_NAMESPACE::Vec<hwy::HWY_NAMESPACE::Rebind<std::uint8_t, D>> MagnitudeBytes(
    D d, V square) {
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::Rebind<float, D> single;
  const hn::Rebind<std::int32_t, D> whole;
  const hn::Rebind<std::uint8_t, D> byte;
  // In single precision the conversion, the root, the constant and the product are off by up to
  // 2^-24 (the root halves what comes before it), less than 2^-22 together. A whole number between
  // the estimate and the magnitude is thus nearer than estimate * 2^-21. Below 1 there is none.
  const auto estimate = hn::Mul(hn::Sqrt(hn::DemoteTo(single, square)), hn::Set(single, 0.01F));
  const auto distance = hn::Abs(hn::Sub(estimate, hn::Round(estimate)));
  const auto isClear = hn::And(hn::Gt(distance, hn::Mul(estimate, hn::Set(single, 0x1p-21F))),
                               hn::Lt(estimate, hn::Set(single, 0x1p20F)));
  const auto isBelowOne = hn::Lt(estimate, hn::Set(single, 0.5F));
  auto truncated = hn::ConvertTo(whole, estimate);
  if (HWY_UNLIKELY(!hn::AllTrue(single, hn::Or(isClear, isBelowOne)))) {
    const auto magnitude = hn::Div(hn::Sqrt(square), hn::Set(d, 100.0));
    // Exact: powers of 2, and a difference that has no more bits than the magnitude.
    const auto above =
        hn::Mul(hn::Floor(hn::Mul(magnitude, hn::Set(d, 0x1p-8))), hn::Set(d, 256.0));
    const auto isHeld = hn::Lt(magnitude, hn::Set(d, 0x1p63));
    truncated = hn::DemoteTo(whole, hn::IfThenElseZero(isHeld, hn::Sub(magnitude, above)));
  }
  return hn::DemoteTo(byte, hn::And(truncated, hn::Set(whole, 255)));
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
