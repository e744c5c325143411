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
  static constexpr std::ptrdiff_t kHalf = 1, kGroup = 32;

  template <class D>
  static auto FromBytes(D d, const std::uint8_t* bytes) {
    return hn::PromoteTo(d, hn::LoadU(hn::Rebind<std::uint8_t, D>(), bytes));
  }
  template <class D>
  static void ToBytes(D, hn::Vec<D> cells, std::uint8_t* bytes) {
    const hn::Rebind<std::uint8_t, D> d8;
    hn::StoreU(hn::DemoteTo(d8, cells), d8, bytes);
  }

  /// Puts the whole parts of square roots into the group. Those of n^2 and n^2 - 1, n <= 256, lie
  /// on both sides of n - 1 / 513, so that 0.499 less rounds to the whole part, and neither single
  /// precision, which ends at 2^-16 here, nor the current rounding of halves matters.
  static void StoreRoots(const std::uint16_t* squares, Cell* group) {
    const hn::CappedTag<std::int32_t, kGroup> d;
    const hn::Rebind<Cell, decltype(d)> d16;
    const hn::Rebind<std::uint16_t, decltype(d)> du;
    const hn::RebindToFloat<decltype(d)> df;
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    for (std::ptrdiff_t i = 0; i < kGroup; i += lanes) {
      const auto square = hn::ConvertTo(df, hn::PromoteTo(d, hn::LoadU(du, squares + i)));
      hn::StoreU(hn::DemoteTo(d16, hn::NearestInt(hn::Sub(hn::Sqrt(square), hn::Set(df, 0.499F)))),
                 d16, group + i);
    }
  }

  void operator()(Cell* group) const {
    const hn::CappedTag<Cell, kGroup> d;
    const hn::RebindToUnsigned<decltype(d)> du;
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    alignas(64) std::uint16_t squares[kGroup];
    for (std::ptrdiff_t i = 0; i < kGroup; i += lanes) {
      const Cell* cell = group + i;
      const auto at = [&](int up, int right) {
        return hn::LoadU(d, cell + Wavefront<Sobel>::Neighbour(up, right));
      };
      const auto fall = hn::Sub(at(1, -1), at(-1, 1)), rise = hn::Sub(at(1, 1), at(-1, -1));
      const auto across = hn::Sub(at(0, 1), at(0, -1)), up = hn::Sub(at(1, 0), at(-1, 0));
      const auto gx = hn::Add(hn::Sub(rise, fall), hn::Add(across, across));
      const auto gy = hn::Add(hn::Add(rise, fall), hn::Add(up, up));
      // A part of 255 or more alone makes the length so. The sum of the squares of such ends at
      // 16 bits, whose root is 255 as well.
      const auto square = [&](auto part) {
        const auto length = hn::Min(hn::Abs(part), hn::Set(d, 255));
        return hn::BitCast(du, hn::Mul(length, length));
      };
      hn::StoreU(hn::SaturatedAdd(square(gx), square(gy)), du, squares + i);
    }
    StoreRoots(squares, group);
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
