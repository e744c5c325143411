#include "filter/edges.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/edges.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

#include "filter/roots-inl.h"
#include "simd/even_odd-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
using Words = hn::Repartition<std::uint16_t, Bytes>;
using Word = hn::Vec<Words>;

/// Squared lengths from this one on have a root nearer to 256 than to 255, or above. The one before
/// stands for all of them.
constexpr int kLargestSquare = 255 * 255 + 255;

/// A row of pixels between its neighbours.
struct Rows {
  const std::uint8_t *below, *middle, *above;
};

/// The length at a pixel between columns `left` and `right`.
std::uint8_t Length(const Rows& rows, std::ptrdiff_t left, std::ptrdiff_t x, std::ptrdiff_t right) {
  const auto smooth = [&](std::ptrdiff_t column) {
    return rows.below[column] + 2 * rows.middle[column] + rows.above[column];
  };
  const auto rise = [&](std::ptrdiff_t column) { return rows.above[column] - rows.below[column]; };
  const int gx = smooth(right) - smooth(left), gy = rise(left) + 2 * rise(x) + rise(right);
  const auto square = static_cast<float>(std::min(gx * gx + gy * gy, kLargestSquare));
  return static_cast<std::uint8_t>(std::sqrt(square) + 0.5F);
}

/// Every second column of a stretch of three rows, each column weighed 1, 2, 1, and its rise.
struct Columns {
  Word smooth, rise;

  HWY_INLINE Columns(Word below, Word middle, Word above)
      : smooth(hn::Add(hn::Add(below, above), hn::Add(middle, middle))),
        rise(hn::Sub(above, below)) {}
};

/// The square of a component, or that of 255, which makes the length 255 or more by itself.
HWY_INLINE Word SquareTo255(Word component) {
  const Words d16;
  const hn::RebindToSigned<Words> dSigned;
  const Word length = hn::BitCast(d16, hn::Abs(hn::BitCast(dSigned, component)));
  const Word limited = hn::Min(length, hn::Set(d16, 255));
  return hn::Mul(limited, limited);
}

HWY_INLINE Word Lengths(const Columns& left, const Columns& middle, const Columns& right) {
  const Word gx = hn::Sub(right.smooth, left.smooth),
             gy = hn::Add(hn::Add(left.rise, right.rise), hn::Add(middle.rise, middle.rise));
  const Word square = hn::SaturatedAdd(SquareTo255(gx), SquareTo255(gy));
  return NearestRoots(hn::Min(square, hn::Set(Words(), kLargestSquare)));
}

/// The lengths at a vector of pixels from column x on. Of the bytes from x - 1 on, the even ones
/// are left of even pixels, and the odd ones are those pixels; of the bytes from x + 1 on, the even
/// ones are odd pixels.
HWY_INLINE void StoreLengths(const Rows& rows, std::ptrdiff_t x, std::uint8_t* lengths) {
  const Bytes d8;
  const auto at = [=](const std::uint8_t* row, std::ptrdiff_t right)
                      HWY_ATTR { return hn::LoadU(d8, row + x + right); };
  const auto below = at(rows.below, -1), middle = at(rows.middle, -1), above = at(rows.above, -1);
  const auto nextBelow = at(rows.below, 1), nextMiddle = at(rows.middle, 1),
             nextAbove = at(rows.above, 1);
  const Columns column0(Even(below), Even(middle), Even(above)),
      column1(Odd(below), Odd(middle), Odd(above)),
      column2(Even(nextBelow), Even(nextMiddle), Even(nextAbove)),
      column3(Odd(nextBelow), Odd(nextMiddle), Odd(nextAbove));
  const Word evens = Lengths(column0, column1, column2), odds = Lengths(column1, column2, column3);
  hn::StoreU(hn::BitCast(d8, hn::Or(evens, hn::ShiftLeft<8>(odds))), d8, lengths + x);
}

void DetectRow(const Rows& rows, std::ptrdiff_t width, std::uint8_t* lengths) {
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(Bytes()));
  const std::ptrdiff_t last = width - 1;
  const bool isNarrow = last - 1 < lanes;
  for (std::ptrdiff_t x = 0; x < width; x += isNarrow ? 1 : std::max<std::ptrdiff_t>(last, 1))
    lengths[x] = Length(rows, std::max<std::ptrdiff_t>(x - 1, 0), x, std::min(x + 1, last));
  if (isNarrow) return;
  // The last vector may overlap the one before.
  for (std::ptrdiff_t x = 1; x < last; x += lanes)
    StoreLengths(rows, std::min(x, last - lanes), lengths);
}

void DetectEdges(ConstImageView gray, ImageView edges) {
  const std::int32_t last = gray.height - 1;
  for (std::int32_t y = 0; y <= last; ++y)
    DetectRow({gray.Row(std::max(y - 1, 0)), gray.Row(y), gray.Row(std::min(y + 1, last))},
              gray.width, edges.Row(y));
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(DetectEdges);

void DetectEdges(ConstImageView gray, ImageView edges) {
  HWY_DYNAMIC_DISPATCH(DetectEdges)(gray, edges);
}

}  // namespace rastelo

#endif  // HWY_ONCE
