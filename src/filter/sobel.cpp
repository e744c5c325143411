#include "filter/sobel.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/sobel.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

#include "filter/wavefront-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

struct Sobel {
  using Cell = std::int16_t;
  static constexpr std::ptrdiff_t kHalf = 1, kVectors = 2, kRows = 128;

  template <class D>
  static auto FromBytes(D d, const std::uint8_t* bytes) {
    return hn::PromoteTo(d, hn::LoadU(hn::Rebind<std::uint8_t, D>(), bytes));
  }
  template <class D>
  static void ToBytes(D, hn::Vec<D> cells, std::uint8_t* bytes) {
    const hn::Rebind<std::uint8_t, D> d8;
    hn::StoreU(hn::DemoteTo(d8, cells), d8, bytes);
  }

  /// The whole parts of square roots. They are those of n + 0.5 too, which lie 1 / 1026 or more
  /// from whole numbers, where single precision ends at 2^-16. A number n stands in the low bits of
  /// the float 2^23 + n, and so does the root when adding has rounded it to a whole number.
  template <class V>
  static V Roots(V squares) {
    const hn::DFromV<V> d;
    const hn::RepartitionToWide<decltype(d)> d32;
    const hn::RebindToFloat<decltype(d32)> df;
    const auto root = [&](auto number) {
      const auto offset = hn::Set(df, 0x1p23F - 0.5F);
      return hn::Add(hn::Sqrt(hn::Sub(hn::BitCast(df, number), offset)), offset);
    };
    const auto even = root(hn::OddEven(hn::Set(d, 0x4B00), squares));
    const auto odd =
        root(hn::Or(hn::ShiftRight<16>(hn::BitCast(d32, squares)), hn::Set(d32, 0x4B000000)));
    return hn::OddEven(hn::BitCast(d, hn::ShiftLeft<16>(hn::BitCast(d32, odd))),
                       hn::BitCast(d, even));
  }

  template <class D>
  void operator()(D d, const Cell* cells, hn::Vec<D>* changed) const {
    for (std::ptrdiff_t v = 0; v < kVectors; ++v)
      changed[v] = Gradient(d, cells + v * static_cast<std::ptrdiff_t>(hn::Lanes(d)));
  }

  template <class D>
  static hn::Vec<D> Gradient(D d, const Cell* cell) {
    const hn::RebindToUnsigned<D> du;
    const auto at = [&](int up, int right) {
      return hn::LoadU(d, cell + Wavefront<Sobel>::Neighbour(up, right));
    };
    const auto fall = hn::Sub(at(1, -1), at(-1, 1)), rise = hn::Sub(at(1, 1), at(-1, -1));
    const auto up = hn::Sub(at(1, 0), at(-1, 0));
    // The pixel to the left, which has just been written, comes last.
    const auto gx = hn::Sub(hn::Add(hn::Sub(rise, fall), hn::ShiftLeft<1>(at(0, 1))),
                            hn::ShiftLeft<1>(at(0, -1)));
    const auto gy = hn::Add(hn::Add(rise, fall), hn::Add(up, up));
    // A part of 255 or more alone makes the length so. The sum of the squares of such ends at
    // 16 bits, whose root is 255 as well.
    const auto square = [&](auto part) {
      const auto length = hn::Min(hn::Abs(part), hn::Set(d, 255));
      return hn::BitCast(du, hn::Mul(length, length));
    };
    return hn::BitCast(d, Roots(hn::SaturatedAdd(square(gx), square(gy))));
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
