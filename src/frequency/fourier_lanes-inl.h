// Included once for each instruction set, behind hwy/foreach_target.h.
//
// Gathers lines into the lanes of vectors, where fourier_stages-inl.h transforms them, and scatters
// coefficients from there.
#if defined(RASTELO_FREQUENCY_FOURIER_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RASTELO_FREQUENCY_FOURIER_LANES_INL_H_
#undef RASTELO_FREQUENCY_FOURIER_LANES_INL_H_
#else
#define RASTELO_FREQUENCY_FOURIER_LANES_INL_H_
#endif

#include <algorithm>
#include <bit>

// Each brings hwy/highway.h.
#include "frequency/fourier_stages-inl.h"
#include "frequency/magnitude-inl.h"
#include "simd/non_temporal.h"
#include "simd/transpose-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// The lane of a line. The lower half of the lines lies in the even lanes, the upper half in the
/// odd ones: InterleaveLower and InterleaveUpper of the real and the imaginary vector, which go by
/// blocks of two lanes, then give complex numbers in the lines' order.
HWY_INLINE std::ptrdiff_t LaneOf(std::ptrdiff_t line, std::ptrdiff_t lanes) {
  return line < lanes / 2 ? 2 * line : 2 * line + 1 - lanes;
}

/// Gathers the levels of neighbouring rows, one row a lane.
HWY_INLINE void GatherLevels(ConstImageView levels, std::ptrdiff_t firstRow, std::ptrdiff_t lanes,
                             std::ptrdiff_t length, std::uint8_t* bytes) {
  const std::uint8_t* rows[FourierLines::kMaxLanes];
  for (std::ptrdiff_t i = 0; i < lanes; ++i)
    rows[LaneOf(i, lanes)] = levels.Row(static_cast<std::int32_t>(firstRow + i));
  for (std::ptrdiff_t x = 0; x < length; ++x)
    for (std::ptrdiff_t lane = 0; lane < lanes; ++lane) bytes[lanes * x + lane] = rows[lane][x];
}

/// Gathers the elements of neighbouring lines, `distance` apart, one line a lane.
template <class D>
HWY_INLINE void GatherElements(D df, const Complex* elements, std::ptrdiff_t distance,
                               std::ptrdiff_t length, double* work) {
  constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(D()));
  for (std::ptrdiff_t i = 0; i < 2 * length; i += kLanes) {
    hn::Vec<D> v[kLanes];
    for (std::ptrdiff_t line = 0; line < kLanes; ++line)
      v[LaneOf(line, kLanes)] = hn::LoadU(df, &elements[distance * line].re + i);
    TransposeLanes(df, v);
    for (std::ptrdiff_t k = 0; k < kLanes; ++k) hn::Store(v[k], df, work + kLanes * (i + k));
  }
}

/// The lowest `bits` bits of an index in reversed order.
HWY_INLINE std::ptrdiff_t ReverseBits(std::ptrdiff_t index, int bits) {
  auto v = static_cast<std::uint32_t>(index);
  v = (v >> 1 & 0x55555555U) | (v & 0x55555555U) << 1;
  v = (v >> 2 & 0x33333333U) | (v & 0x33333333U) << 2;
  v = (v >> 4 & 0x0F0F0F0FU) | (v & 0x0F0F0F0FU) << 4;
  v = (v >> 8 & 0x00FF00FFU) | (v & 0x00FF00FFU) << 8;
  return static_cast<std::ptrdiff_t>(std::uint64_t{v >> 16 | v << 16} >> (32 - bits));
}

/// Whether W x H coefficients get non-temporal stores, for which each column must be aligned.
HWY_INLINE bool IsNonTemporal(const FourierLines& lines, const Complex* out, std::ptrdiff_t width,
                              std::ptrdiff_t height) {
  return lines.maxLanes > 1 && height % 4 == 0 && reinterpret_cast<std::uintptr_t>(out) % 64 == 0 &&
         static_cast<std::int64_t>(sizeof *out) * width * height >= kNonTemporalBytesReadAgain;
}

/// Stores as many complex numbers as there are lanes.
template <class D, class V>
HWY_INLINE void StoreNumbers(D df, V low, V high, bool nonTemporal, Complex* out) {
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(df));
  if (nonTemporal) {
    hn::Stream(low, df, &out->re);
    hn::Stream(high, df, &out->re + lanes);
  } else {
    hn::StoreU(low, df, &out->re);
    hn::StoreU(high, df, &out->re + lanes);
  }
}

/// Stores a coefficient of each of the lines that lie in the lanes.
template <class D, class V>
HWY_INLINE void StoreLanes(D df, const ComplexLanes<V>& z, bool nonTemporal, Complex* out) {
  if constexpr (hn::MaxLanes(D()) == 1) {
    StoreNumbers(df, z.re, z.im, nonTemporal, out);
  } else {
    StoreNumbers(df, hn::InterleaveLower(df, z.re, z.im), hn::InterleaveUpper(df, z.re, z.im),
                 nonTemporal, out);
  }
}

/// Loads as many coefficients as there are lanes, from v on, of each line from bit-reversed order:
/// those of line i to z[LaneOf(i)], and the second half of them `lanes` behind.
template <class D, class V>
HWY_INLINE void LoadCoefficients(D df, const FourierLines& lines, std::ptrdiff_t v, V* z) {
  constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(D()));
  constexpr int kBits = std::bit_width(std::size_t{kLanes}) - 1;
  const LoadWork<D> load{lines.work.get()};
  for (std::ptrdiff_t k = 0; k < kLanes; ++k) {
    const auto from =
        load(ReverseBits(v, lines.exponent), (lines.length >> kBits) * ReverseBits(k, kBits));
    z[2 * k] = from.re;
    z[2 * k + 1] = from.im;
  }
  TransposeLanes(df, z);
  TransposeLanes(df, z + kLanes);
}

/// The squared magnitudes of complex numbers, at most that of 255.5 * 100: it is drawn as 255, and
/// single precision suffices to see that.
template <class D, class V>
HWY_INLINE V DrawnSquares(D df, V low, V high) {
  constexpr double kLargest = 25550.0 * 25550.0;
  V re = low, im = high;
  if constexpr (hn::MaxLanes(D()) > 1) {
    re = hn::ConcatEven(df, high, low);
    im = hn::ConcatOdd(df, high, low);
  }
  return hn::Min(SquaredMagnitude(re, im), hn::Set(df, kLargest));
}

/// Draws the magnitudes of the coefficients `z` of all lines, `length` bytes from line to line.
template <class D, class V>
HWY_INLINE void DrawCoefficients(D df, const V* z, std::ptrdiff_t length, std::uint8_t* bytes) {
  constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(D()));
  const hn::Rebind<std::uint8_t, D> d8;
  const auto squares = [=](std::ptrdiff_t line) HWY_ATTR {
    const V* low = z + LaneOf(line, kLanes);
    return DrawnSquares(df, low[0], low[kLanes]);
  };
  for (std::ptrdiff_t line = 0; line < kLanes; line += 2) {
    const std::ptrdiff_t next = std::min(line + 1, kLanes - 1);
    const auto drawn = MagnitudeBytes(df, squares(line), squares(next));
    hn::StoreU(hn::LowerHalf(d8, drawn), d8, bytes + length * line);
    hn::StoreU(hn::UpperHalf(d8, drawn), d8, bytes + length * next);
  }
}

/// Scatters the coefficients of neighbouring columns from the lanes to columns, `height` apart, and
/// draws them to `bytes` unless it is null.
template <bool kNonTemporal, class D>
HWY_INLINE void ScatterColumns(D df, const FourierLines& lines, std::ptrdiff_t height, Complex* out,
                               std::uint8_t* bytes) {
  constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(D()));
  for (std::ptrdiff_t v = 0; v < lines.length; v += kLanes) {
    hn::Vec<D> z[2 * kLanes];
    LoadCoefficients(df, lines, v, z);
    for (std::ptrdiff_t line = 0; line < kLanes; ++line) {
      const hn::Vec<D>* low = z + LaneOf(line, kLanes);
      StoreNumbers(df, low[0], low[kLanes], kNonTemporal, out + height * line + v);
    }
    if (bytes) DrawCoefficients(df, z, lines.length, bytes + v);
  }
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
