#include "filter/sobel.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/sobel.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

#include "filter/roots-inl.h"
#include "filter/wavefront-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

struct Sobel {
  using Cell = std::int16_t;
  static constexpr std::ptrdiff_t kHalo = 1, kVectors = 2, kRows = 128;

  template <class D>
  static auto FromBytes(D d16, const std::uint8_t* bytes) {
    const hn::Rebind<std::uint8_t, D> d8;
    return hn::PromoteTo(d16, hn::LoadU(d8, bytes));
  }
  template <class D>
  static void ToBytes(D, hn::Vec<D> cells, std::uint8_t* bytes) {
    const hn::Rebind<std::uint8_t, D> d8;
    hn::StoreU(hn::DemoteTo(d8, cells), d8, bytes);
  }

  template <class D>
  void operator()(D d16, const Cell* cells, hn::Vec<D>* lengths) const {
    for (std::ptrdiff_t v = 0; v < kVectors; ++v)
      lengths[v] = GradientLengths(d16, cells + v * static_cast<std::ptrdiff_t>(hn::Lanes(d16)));
  }

  template <class D>
  static hn::Vec<D> GradientLengths(D d16, const Cell* cells) {
    const auto at = [&](int up, int right) {
      return hn::LoadU(d16, cells + WavefrontWindow<Sobel>::Neighbour(up, right));
    };
    const auto fall = hn::Sub(at(1, -1), at(-1, 1)), rise = hn::Sub(at(1, 1), at(-1, -1));
    const auto up = hn::Sub(at(1, 0), at(-1, 0));
    // The pixel to the left, which has just been written, comes last.
    const auto gx = hn::Sub(hn::Add(hn::Sub(rise, fall), hn::ShiftLeft<1>(at(0, 1))),
                            hn::ShiftLeft<1>(at(0, -1)));
    const auto gy = hn::Add(hn::Add(rise, fall), hn::Add(up, up));
    return hn::BitCast(d16, TruncatedRoots(hn::SaturatedAdd(SquareTo255(gx), SquareTo255(gy))));
  }

  /// The square of a component, or that of 255, which makes the length 255 or more by itself. A sum
  /// saturated at 2^16 - 1 has a root of 255 as well.
  template <class V>
  static auto SquareTo255(V component) {
    const hn::DFromV<V> d16;
    const auto length = hn::Min(hn::Abs(component), hn::Set(d16, 255));
    return hn::BitCast(hn::RebindToUnsigned<decltype(d16)>(), hn::Mul(length, length));
  }
};

void ApplySobel(ImageView gray) { Wavefront(gray, Sobel()).Run(); }

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(ApplySobel);

void ApplySobel(ImageView gray) { HWY_DYNAMIC_DISPATCH(ApplySobel)(gray); }

}  // namespace rastelo

#endif  // HWY_ONCE
