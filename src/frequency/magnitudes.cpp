#include "frequency/magnitudes.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "frequency/fft_shift.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "frequency/magnitudes.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include "frequency/magnitude-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Sets to 0 the coefficients of one vector whose squared magnitudes are above `largestSquare`.
/// @return the squared magnitudes of what is left.
template <class D>
HWY_INLINE hn::Vec<D> CutLanes(D df64, double largestSquare, Complex* coefficients) {
  using V = hn::Vec<D>;
  V re = hn::Zero(df64), im = re;
  hn::LoadInterleaved2(df64, &coefficients->re, re, im);
  const V square = SquaredMagnitude(re, im);
  const auto stays = hn::Le(square, hn::Set(df64, largestSquare));
  if (!hn::AllTrue(df64, stays))
    hn::StoreInterleaved2(hn::IfThenElseZero(stays, re), hn::IfThenElseZero(stays, im), df64,
                          &coefficients->re);
  return hn::IfThenElseZero(stays, square);
}

/// Cuts and draws `count` coefficients that follow each other in memory and in the map.
void CutSegment(Complex* coefficients, std::ptrdiff_t count, double largestSquare,
                std::uint8_t* cells) {
  const hn::CappedTag<double, 8> df64;
  const hn::CappedTag<double, 1> oneLane;
  const hn::Rebind<std::uint8_t, hn::Repartition<float, decltype(df64)>> d8;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(df64));
  std::ptrdiff_t i = 0;
  for (; i + 2 * lanes <= count; i += 2 * lanes) {
    const auto low = CutLanes(df64, largestSquare, coefficients + i);
    const auto high = CutLanes(df64, largestSquare, coefficients + i + lanes);
    hn::StoreU(MagnitudeBytes(df64, low, high), d8, cells + i);
  }
  for (; i < count; ++i) {
    const auto square = CutLanes(oneLane, largestSquare, coefficients + i);
    cells[i] = hn::GetLane(MagnitudeBytes(oneLane, square, square));
  }
}

void CutSquares(Complex* coefficients, std::ptrdiff_t width, std::ptrdiff_t height,
                double largestSquare, std::uint8_t* cells) {
  const std::ptrdiff_t half = height / 2;
  for (std::ptrdiff_t u = 0; u < width; ++u) {
    Complex* column = coefficients + height * u;
    std::uint8_t* mapColumn = cells + height * FftShift(u, width);
    CutSegment(column, half, largestSquare, mapColumn + half);
    CutSegment(column + half, height - half, largestSquare, mapColumn);
  }
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {
namespace {

HWY_EXPORT(CutSquares);

/// The largest squared magnitude that `limit` lets stay, -1 for none, by binary search: rounded
/// roots and quotients are monotonic, and doubles from 0 on have the order of their bits.
double LargestSquare(double limit) {
  const auto stays = [&](std::uint64_t bits) {
    return limit >= std::sqrt(std::bit_cast<double>(bits)) / 100.0;
  };
  if (!stays(0)) return -1.0;
  std::uint64_t low = 0, above = std::bit_cast<std::uint64_t>(HUGE_VAL) + 1;
  while (above - low > 1) {
    const std::uint64_t middle = low + (above - low) / 2;
    (stays(middle) ? low : above) = middle;
  }
  return std::bit_cast<double>(low);
}

}  // namespace

void CutMagnitudes(Complex* coefficients, std::int32_t width, std::int32_t height, double limit,
                   std::uint8_t* cells) {
  if (width % 2 != 0 || height % 2 != 0)
    std::fill_n(cells, std::ptrdiff_t{width} * height, std::uint8_t{0});
  HWY_DYNAMIC_DISPATCH(CutSquares)(coefficients, width, height, LargestSquare(limit), cells);
}

}  // namespace rastelo

#endif  // HWY_ONCE
