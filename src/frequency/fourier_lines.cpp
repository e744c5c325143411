#include "frequency/fourier_lines.h"

#include <hwy/cache_control.h>

#include <algorithm>

#include "frequency/fft_shift.h"
#include "numeric/rounded_functions.h"
#include "pixels/allocate_array.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "frequency/fourier_lines.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include "frequency/fourier_lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Calls work(df, groups, first) for each batch of `groups` groups; `first` is the first of its
/// lines. The last batch begins early enough to be a whole one: lines of it may come twice.
template <class Work>
HWY_INLINE void ForEachBatch(const FourierLines& lines, std::ptrdiff_t groups, const Work& work) {
  const hn::CappedTag<double, FourierLines::kMaxLanes> df;
  const hn::CappedTag<double, 1> oneLane;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(df));
  const std::ptrdiff_t count = lines.lineCount, step = groups * lanes;
  if (lanes <= lines.maxLanes) {
    for (std::ptrdiff_t first = 0; first < count; first += step)
      work(df, groups, std::min(first, count - step));
  } else {
    for (std::ptrdiff_t first = 0; first < count; ++first) work(oneLane, std::ptrdiff_t{1}, first);
  }
}

/// Transforms a batch of rows to out(H * u + y).
template <class D, class Load>
HWY_INLINE void TransformBatch(D df, const FourierLines& lines, std::ptrdiff_t groups,
                               const Load& load, std::ptrdiff_t height, bool nonTemporal,
                               Complex* out) {
  const int exponent = lines.exponent;
  const auto store = [=](std::ptrdiff_t block, std::ptrdiff_t i, const auto& z) HWY_ATTR {
    const std::ptrdiff_t group = block >> exponent, place = block - (group << exponent);
    const std::ptrdiff_t u = ReverseBits(place, exponent) + ReverseBits(i, exponent);
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(df));
    StoreLanes(df, z, nonTemporal, out + height * u + lanes * group);
  };
  TransformLanes(df, lines, groups, load, store);
}

void TransformLevelRows(const FourierLines& lines, ConstImageView levels, Complex* out) {
  const bool nonTemporal = IsNonTemporal(lines, out, lines.length, levels.height);
  std::uint8_t* bytes = lines.bytes.get();
  ForEachBatch(lines, lines.groups, [&](auto df, std::ptrdiff_t groups, std::ptrdiff_t y) HWY_ATTR {
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(df));
    for (std::ptrdiff_t i = 0; i < groups; ++i)
      GatherLevels(levels, y + lanes * i, lanes, lines.length, bytes + lanes * lines.length * i);
    const auto load = [=](std::ptrdiff_t block, std::ptrdiff_t i) HWY_ATTR {
      const hn::Rebind<std::uint8_t, decltype(df)> d8;
      const hn::Rebind<std::int32_t, decltype(df)> d32;
      const auto level = hn::PromoteTo(d32, hn::LoadU(d8, bytes + lanes * (block + i)));
      return ComplexLanes<hn::Vec<decltype(df)>>{hn::PromoteTo(df, level), hn::Zero(df)};
    };
    TransformBatch(df, lines, groups, load, levels.height, nonTemporal, out + y);
  });
  hwy::FlushStream();
}

void TransformElementRows(const FourierLines& lines, const Complex* elements, std::ptrdiff_t width,
                          std::ptrdiff_t height, Complex* out) {
  const bool nonTemporal = IsNonTemporal(lines, out, lines.length, height);
  double* work = lines.work.get();
  ForEachBatch(lines, lines.groups, [&](auto df, std::ptrdiff_t groups, std::ptrdiff_t y) HWY_ATTR {
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(df));
    for (std::ptrdiff_t i = 0; i < groups; ++i)
      GatherElements(df, elements + width * (y + lanes * i), width, lines.length,
                     work + 2 * lanes * lines.length * i);
    const LoadWork<decltype(df)> load{work};
    TransformBatch(df, lines, groups, load, height, nonTemporal, out + y);
  });
  hwy::FlushStream();
}

/// Copies drawn columns to the map of W x H cells, halves exchanged.
void CopyToMap(const FourierLines& lines, std::ptrdiff_t firstColumn, std::ptrdiff_t count,
               std::ptrdiff_t width, std::ptrdiff_t height, std::uint8_t* cells) {
  const std::ptrdiff_t half = height / 2;
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const std::uint8_t* bytes = lines.bytes.get() + lines.length * i;
    std::uint8_t* column = cells + height * FftShift(firstColumn + i, width);
    std::copy_n(bytes, half, column + half);
    std::copy_n(bytes + half, lines.length - half, column);
  }
}

void TransformColumns(const FourierLines& lines, const Complex* columns, std::ptrdiff_t width,
                      std::ptrdiff_t height, Complex* out, std::uint8_t* cells) {
  const bool nonTemporal = IsNonTemporal(lines, out, width, height);
  double* work = lines.work.get();
  std::uint8_t* bytes = cells ? lines.bytes.get() : nullptr;
  ForEachBatch(lines, 1, [&](auto df, std::ptrdiff_t groups, std::ptrdiff_t x) HWY_ATTR {
    using D = decltype(df);
    GatherElements(df, columns + height * x, height, lines.length, work);
    TransformLanes(df, lines, groups, LoadWork<D>{work}, StoreWork<D>{work});
    if (nonTemporal)
      ScatterColumns<true>(df, lines, height, out + height * x, bytes);
    else
      ScatterColumns<false>(df, lines, height, out + height * x, bytes);
    if (cells)
      CopyToMap(lines, x, static_cast<std::ptrdiff_t>(hn::Lanes(df)), width, height, cells);
  });
  hwy::FlushStream();
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(TransformLevelRows);
HWY_EXPORT(TransformElementRows);
HWY_EXPORT(TransformColumns);

std::shared_ptr<Complex[]> MakeFourierFactors(int exponent) {
  const std::size_t count = std::size_t{1} << exponent;
  auto factors = AllocateArray<Complex>(count / 2);
  for (std::size_t i = 0; i < count / 2; ++i) {
    const double angle = static_cast<double>(i) * -6.283185307179586 / static_cast<double>(count);
    factors.get()[i] = RoundedUnit(angle);
  }
  return factors;
}

FourierLines::FourierLines(int newExponent, std::int32_t newCount, const Complex* newFactors,
                           int factorExponent)
    : exponent(newExponent),
      lineCount(newCount),
      length(std::ptrdiff_t{1} << exponent),
      maxLanes(lineCount < 4 * kMaxLanes || length < kMaxLanes ? 1 : kMaxLanes),
      groups(maxLanes == 1 ? 1 : std::clamp<std::ptrdiff_t>(2048 / length, 1, 4)),  // 256 KiB
      factors(newFactors),
      factorStep(std::ptrdiff_t{1} << (factorExponent - exponent)),
      work(AllocateArray<double>(static_cast<std::size_t>(2 * groups * maxLanes * length))),
      bytes(AllocateArray<std::uint8_t>(static_cast<std::size_t>(groups * maxLanes * length))) {}

void FourierLines::TransformRows(ConstImageView levels, Complex* out) const {
  HWY_DYNAMIC_DISPATCH(TransformLevelRows)(*this, levels, out);
}

void FourierLines::TransformRows(const Complex* elements, std::int32_t width, std::int32_t height,
                                 Complex* out) const {
  HWY_DYNAMIC_DISPATCH(TransformElementRows)(*this, elements, width, height, out);
}

void FourierLines::TransformColumns(const Complex* columns, std::int32_t width, std::int32_t height,
                                    Complex* out, std::uint8_t* cells) const {
  HWY_DYNAMIC_DISPATCH(TransformColumns)(*this, columns, width, height, out, cells);
}

}  // namespace rastelo

#endif  // HWY_ONCE
