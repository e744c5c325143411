#include "frequency/fourier_lines.h"

#include <hwy/cache_control.h>

#include <algorithm>
#include <bit>
#include <type_traits>

#include "frequency/fft_shift.h"
#include "numeric/rounded_functions.h"
#include "pixels/allocate_array.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "frequency/fourier_lines.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include "frequency/magnitude-inl.h"
#include "simd/transpose-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Single = hn::CappedTag<double, 1>;

/// The square of a magnitude that is drawn as 255 and far from every whole number.
constexpr double kLargestSquare = 25550.0 * 25550.0;

// Lines are transformed side by side, one a lane. Element after element, `work` holds the real
// parts of all lines, then their imaginary parts. A pass keeps eight elements in registers through
// three stages, whose butterflies are those of the plain definition.

/// low + high, and (low - high) * factor.
template <class D, class V>
HWY_INLINE void Butterfly(D d, const Complex& factor, V& lowRe, V& lowIm, V& highRe, V& highIm) {
  const V re = hn::Sub(lowRe, highRe), im = hn::Sub(lowIm, highIm);
  const V factorRe = hn::Set(d, factor.re), factorIm = hn::Set(d, factor.im);
  lowRe = hn::Add(lowRe, highRe);
  lowIm = hn::Add(lowIm, highIm);
  highRe = hn::Sub(hn::Mul(re, factorRe), hn::Mul(im, factorIm));
  highIm = hn::Add(hn::Mul(re, factorIm), hn::Mul(im, factorRe));
}

/// The factors of one stage: that of a block's pair i.
struct Factors {
  const Complex* first;
  std::ptrdiff_t step;
  const Complex& operator[](std::ptrdiff_t i) const { return first[i * step]; }
  /// Those of the next stage, whose blocks are half as long.
  Factors Next() const { return {first, 2 * step}; }
};

/// Two stages of the elements i + k * step, k below 4, of a block of 4 * step.
template <class D, class V>
HWY_INLINE void TwoStages(D d, const Factors& f, std::ptrdiff_t i, std::ptrdiff_t step, V& re0,
                          V& im0, V& re1, V& im1, V& re2, V& im2, V& re3, V& im3) {
  Butterfly(d, f[i], re0, im0, re2, im2);
  Butterfly(d, f[i + step], re1, im1, re3, im3);
  Butterfly(d, f.Next()[i], re0, im0, re1, im1);
  Butterfly(d, f.Next()[i], re2, im2, re3, im3);
}

/// `kStages` stages of the elements i + k * step, k below 2^kStages, of the block at `block`.
template <int kStages, class D, class Load, class Store>
HWY_INLINE void Stages(D d, const Factors& f, std::ptrdiff_t block, std::ptrdiff_t i,
                       std::ptrdiff_t step, const Load& load, const Store& store) {
  using V = hn::Vec<D>;
  V re0 = hn::Zero(d), im0 = re0;
  load(d, block, i, re0, im0);
  if constexpr (kStages == 0) {
    store(d, block, i, re0, im0);
  } else {
    V re1 = re0, im1 = re0;
    load(d, block, i + step, re1, im1);
    if constexpr (kStages == 1) {
      Butterfly(d, f[i], re0, im0, re1, im1);
    } else {
      V re2 = re0, im2 = re0, re3 = re0, im3 = re0;
      load(d, block, i + 2 * step, re2, im2);
      load(d, block, i + 3 * step, re3, im3);
      if constexpr (kStages == 2) {
        TwoStages(d, f, i, step, re0, im0, re1, im1, re2, im2, re3, im3);
      } else {
        V re4 = re0, im4 = re0, re5 = re0, im5 = re0, re6 = re0, im6 = re0, re7 = re0, im7 = re0;
        load(d, block, i + 4 * step, re4, im4);
        load(d, block, i + 5 * step, re5, im5);
        load(d, block, i + 6 * step, re6, im6);
        load(d, block, i + 7 * step, re7, im7);
        Butterfly(d, f[i], re0, im0, re4, im4);
        Butterfly(d, f[i + step], re1, im1, re5, im5);
        Butterfly(d, f[i + 2 * step], re2, im2, re6, im6);
        Butterfly(d, f[i + 3 * step], re3, im3, re7, im7);
        TwoStages(d, f.Next(), i, step, re0, im0, re1, im1, re2, im2, re3, im3);
        TwoStages(d, f.Next(), i, step, re4, im4, re5, im5, re6, im6, re7, im7);
        store(d, block, i + 4 * step, re4, im4);
        store(d, block, i + 5 * step, re5, im5);
        store(d, block, i + 6 * step, re6, im6);
        store(d, block, i + 7 * step, re7, im7);
      }
      store(d, block, i + 2 * step, re2, im2);
      store(d, block, i + 3 * step, re3, im3);
    }
    store(d, block, i, re0, im0);
    store(d, block, i + step, re1, im1);
    return;
  }
}

/// A pass over the blocks of 2^exponent elements from `begin` to `end`.
template <int kStages, class D, class Load, class Store>
HWY_INLINE void Pass(D d, const FourierLines& lines, int exponent, std::ptrdiff_t begin,
                     std::ptrdiff_t end, const Load& load, const Store& store) {
  const std::ptrdiff_t size = std::ptrdiff_t{1} << exponent, step = size >> kStages;
  const Factors f{lines.factors, lines.factorStep << (lines.exponent - exponent)};
  for (std::ptrdiff_t block = begin; block < end; block += size)
    for (std::ptrdiff_t i = 0; i < step; ++i) Stages<kStages>(d, f, block, i, step, load, store);
}

/// Where passes keep what is between them.
template <class D>
struct FromWork {
  double* work;
  HWY_INLINE HWY_ATTR void operator()(D d, std::ptrdiff_t block, std::ptrdiff_t i, hn::Vec<D>& re,
                                      hn::Vec<D>& im) const {
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    re = hn::Load(d, work + 2 * lanes * (block + i));
    im = hn::Load(d, work + 2 * lanes * (block + i) + lanes);
  }
};
template <class D>
struct ToWork {
  double* work;
  HWY_INLINE HWY_ATTR void operator()(D d, std::ptrdiff_t block, std::ptrdiff_t i, hn::Vec<D> re,
                                      hn::Vec<D> im) const {
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    hn::Store(re, d, work + 2 * lanes * (block + i));
    hn::Store(im, d, work + 2 * lanes * (block + i) + lanes);
  }
};

/// The stages that take blocks of 2^exponent elements to blocks of 2^last, within `work`.
template <class D>
HWY_NOINLINE HWY_ATTR void WorkPasses(D d, const FourierLines& lines, int exponent, int last,
                                      std::ptrdiff_t begin, std::ptrdiff_t end) {
  const FromWork<D> load{lines.work.get()};
  const ToWork<D> store{lines.work.get()};
  for (; exponent - last >= 3; exponent -= 3) Pass<3>(d, lines, exponent, begin, end, load, store);
  if (exponent - last == 2) Pass<2>(d, lines, exponent, begin, end, load, store);
  if (exponent - last == 1) Pass<1>(d, lines, exponent, begin, end, load, store);
}

/// All stages of `groups` groups of lines, from `load` to `store`. The elements of a group follow
/// those of the one before; to `store` they come in reversed order of their places' bits, blocks of
/// the groups by turns. Each eighth goes through all that follow the first three stages while it is
/// in the near cache.
template <class D, class Load, class Store>
HWY_INLINE void TransformLanes(D d, const FourierLines& lines, std::ptrdiff_t groups,
                               const Load& load, const Store& store) {
  const FromWork<D> fromWork{lines.work.get()};
  const ToWork<D> toWork{lines.work.get()};
  const std::ptrdiff_t side = lines.side, end = groups * side;
  if (lines.exponent < 6) {
    Pass<0>(d, lines, 0, 0, end, load, toWork);
    WorkPasses(d, lines, lines.exponent, 0, 0, end);
    return Pass<0>(d, lines, 0, 0, end, fromWork, store);
  }
  Pass<3>(d, lines, lines.exponent, 0, end, load, toWork);
  const std::ptrdiff_t eighth = side / 8;
  for (std::ptrdiff_t begin = 0; begin < side; begin += eighth) {
    for (std::ptrdiff_t first = begin; first < end; first += side)
      WorkPasses(d, lines, lines.exponent - 3, 3, first, first + eighth);
    for (std::ptrdiff_t block = begin; block < begin + eighth; block += 8)
      for (std::ptrdiff_t first = block; first < end; first += side)
        Pass<3>(d, lines, 3, first, first + 8, fromWork, store);
  }
}

/// The parts of as many complex numbers as there are lanes, in order.
template <class D, class V>
HWY_INLINE void Split(D d, V a, V b, V& re, V& im) {
  if constexpr (std::is_same_v<D, Single>) {
    re = a;
    im = b;
  } else {
    re = hn::ConcatEven(d, b, a);
    im = hn::ConcatOdd(d, b, a);
  }
}

/// The complex numbers, in order, where the parts of number k are in lane Slot(k).
template <class D, class V>
HWY_INLINE void Join(D d, V re, V im, V& a, V& b) {
  if constexpr (std::is_same_v<D, Single>) {
    a = re;
    b = im;
  } else {
    a = InterleaveLower(d, re, im);
    b = InterleaveUpper(d, re, im);
  }
}

HWY_INLINE std::ptrdiff_t Slot(std::ptrdiff_t k, std::ptrdiff_t lanes) {
  return k < lanes / 2 ? 2 * k : 2 * k + 1 - lanes;
}

HWY_INLINE std::ptrdiff_t ReverseBits(std::ptrdiff_t place, int bits) {
  auto v = static_cast<std::uint32_t>(place);
  v = (v >> 1 & 0x55555555U) | (v & 0x55555555U) << 1;
  v = (v >> 2 & 0x33333333U) | (v & 0x33333333U) << 2;
  v = (v >> 4 & 0x0F0F0F0FU) | (v & 0x0F0F0F0FU) << 4;
  v = (v >> 8 & 0x00FF00FFU) | (v & 0x00FF00FFU) << 8;
  return static_cast<std::ptrdiff_t>(std::uint64_t{v >> 16 | v << 16} >> (32 - bits));
}

/// Calls work(d, groups, first) for `groups` groups of lines at a time, one line a lane, until all
/// have had their turn. The last call may repeat some.
template <class Work>
HWY_INLINE void ForGroups(const FourierLines& lines, std::ptrdiff_t groups, const Work& work) {
  const hn::CappedTag<double, FourierLines::kLanes> d;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
  const std::ptrdiff_t count = lines.lines, step = groups * lanes;
  if (lanes <= lines.lanes) {
    for (std::ptrdiff_t first = 0; first < count; first += step)
      work(d, groups, std::min(first, count - step));
  } else {
    for (std::ptrdiff_t first = 0; first < count; ++first) work(Single(), std::ptrdiff_t{1}, first);
  }
}

/// Whether stores to this array go past the caches: it is larger than they can keep, and all its
/// rows of `height` elements are aligned.
bool GoesPastCaches(const FourierLines& lines, const Complex* out, std::ptrdiff_t width,
                    std::ptrdiff_t height) {
  constexpr std::ptrdiff_t kLargeCount = std::ptrdiff_t{1} << 20;
  return lines.lanes > 1 && width * height >= kLargeCount && height % 4 == 0 &&
         reinterpret_cast<std::uintptr_t>(out) % 64 == 0;
}

/// Transforms groups of rows that the bytes or the elements in `lines` hold, to out(H * u + y).
template <class D, class Load>
HWY_INLINE void TransformRowGroups(D d, const FourierLines& lines, std::ptrdiff_t groups,
                                   const Load& load, std::ptrdiff_t height, bool pastCaches,
                                   Complex* out) {
  using V = hn::Vec<D>;
  const int exponent = lines.exponent;
  const auto store = [=](D, std::ptrdiff_t block, std::ptrdiff_t i, V re, V im) HWY_ATTR {
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    const std::ptrdiff_t group = block >> exponent, place = block - (group << exponent);
    const std::ptrdiff_t u = ReverseBits(place, exponent) + ReverseBits(i, exponent);
    double* to = &out[height * u + lanes * group].re;
    V a = re, b = im;
    Join(d, re, im, a, b);
    if (pastCaches) {
      hn::Stream(a, d, to);
      hn::Stream(b, d, to + lanes);
    } else {
      hn::StoreU(a, d, to);
      hn::StoreU(b, d, to + lanes);
    }
  };
  TransformLanes(d, lines, groups, load, store);
}

/// Brings the levels of neighbouring rows side by side, row k in lane Slot(k).
HWY_INLINE void GatherLevels(ConstImageView levels, std::ptrdiff_t firstRow, std::ptrdiff_t lanes,
                             std::ptrdiff_t side, std::uint8_t* bytes) {
  const std::uint8_t* rows[FourierLines::kLanes];
  for (std::ptrdiff_t lane = 0; lane < lanes; ++lane)
    rows[Slot(lane, lanes)] = levels.Row(static_cast<std::int32_t>(firstRow + lane));
  for (std::ptrdiff_t x = 0; x < side; ++x)
    for (std::ptrdiff_t slot = 0; slot < lanes; ++slot) bytes[lanes * x + slot] = rows[slot][x];
}

void TransformLevelRows(const FourierLines& lines, ConstImageView levels, Complex* out) {
  const bool pastCaches = GoesPastCaches(lines, out, lines.side, levels.height);
  std::uint8_t* bytes = lines.bytes.get();
  ForGroups(lines, lines.groups, [&](auto d, std::ptrdiff_t groups, std::ptrdiff_t y) HWY_ATTR {
    using D = decltype(d);
    using V = hn::Vec<D>;
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    for (std::ptrdiff_t i = 0; i < groups; ++i)
      GatherLevels(levels, y + lanes * i, lanes, lines.side, bytes + lanes * lines.side * i);
    const auto load = [=](D, std::ptrdiff_t block, std::ptrdiff_t i, V& re, V& im) HWY_ATTR {
      const hn::Rebind<std::uint8_t, D> byte;
      const hn::Rebind<std::int32_t, D> whole;
      re = hn::PromoteTo(d, hn::PromoteTo(whole, hn::LoadU(byte, bytes + lanes * (block + i))));
      im = hn::Zero(d);
    };
    TransformRowGroups(d, lines, groups, load, levels.height, pastCaches, out + y);
  });
  hwy::FlushStream();
}

/// Brings the elements of neighbouring runs, `length` apart, side by side, run k in lane Slot(k).
template <class D>
HWY_INLINE void Gather(D d, const Complex* runs, std::ptrdiff_t length, std::ptrdiff_t side,
                       double* work) {
  constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(D()));
  for (std::ptrdiff_t i = 0; i < side; i += kLanes) {
    hn::Vec<D> a[kLanes], b[kLanes];
    for (std::ptrdiff_t lane = 0; lane < kLanes; ++lane) {
      const double* from = &runs[length * lane + i].re;
      a[Slot(lane, kLanes)] = hn::LoadU(d, from);
      b[Slot(lane, kLanes)] = hn::LoadU(d, from + kLanes);
    }
    TransposeLanes(d, a);
    TransposeLanes(d, b);
    double* to = work + 2 * kLanes * i;
    for (std::ptrdiff_t k = 0; k < kLanes; ++k) {
      hn::Store(a[k], d, to + kLanes * k);
      hn::Store(b[k], d, to + kLanes * (kLanes + k));
    }
  }
}

void TransformElementRows(const FourierLines& lines, const Complex* elements, std::ptrdiff_t width,
                          std::ptrdiff_t height, Complex* out) {
  const bool pastCaches = GoesPastCaches(lines, out, lines.side, height);
  ForGroups(lines, lines.groups, [&](auto d, std::ptrdiff_t groups, std::ptrdiff_t y) HWY_ATTR {
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    double* work = lines.work.get();
    for (std::ptrdiff_t i = 0; i < groups; ++i)
      Gather(d, elements + width * (y + lanes * i), width, lines.side,
             work + 2 * lanes * lines.side * i);
    TransformRowGroups(d, lines, groups, FromWork<decltype(d)>{work}, height, pastCaches, out + y);
  });
  hwy::FlushStream();
}

/// Takes the coefficients from their places in reversed order of bits to their runs, `length`
/// apart, and, if `bytes` is not null, draws them to rows of bytes.
template <bool kPastCaches, class D>
HWY_INLINE void Spread(D d, const FourierLines& lines, std::ptrdiff_t length, Complex* out,
                       std::uint8_t* bytes) {
  using V = hn::Vec<D>;
  constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(D()));
  constexpr int kBits = std::bit_width(std::size_t{kLanes}) - 1;
  const std::ptrdiff_t side = lines.side, step = side / kLanes;
  for (std::ptrdiff_t v = 0; v < side; v += kLanes) {
    V parts[2 * kLanes];
    for (std::ptrdiff_t k = 0; k < kLanes; ++k) {
      const std::ptrdiff_t at = ReverseBits(v, lines.exponent) + step * ReverseBits(k, kBits);
      parts[2 * k] = hn::Load(d, lines.work.get() + 2 * kLanes * at);
      parts[2 * k + 1] = hn::Load(d, lines.work.get() + 2 * kLanes * at + kLanes);
    }
    TransposeLanes(d, parts);
    TransposeLanes(d, parts + kLanes);
    for (std::ptrdiff_t lane = 0; lane < kLanes; ++lane) {
      const V a = parts[Slot(lane, kLanes)], b = parts[kLanes + Slot(lane, kLanes)];
      double* to = &out[length * lane + v].re;
      if constexpr (kPastCaches) {
        hn::Stream(a, d, to);
        hn::Stream(b, d, to + kLanes);
      } else {
        hn::StoreU(a, d, to);
        hn::StoreU(b, d, to + kLanes);
      }
    }
    if (!bytes) continue;
    const auto square = [&](std::ptrdiff_t slot) HWY_ATTR {
      V re = parts[slot], im = re;
      Split(d, parts[slot], parts[kLanes + slot], re, im);
      return hn::Min(SquaredMagnitude(re, im), hn::Set(d, kLargestSquare));
    };
    for (std::ptrdiff_t lane = 0; lane < kLanes; lane += 2) {
      const std::ptrdiff_t next = std::min(lane + 1, kLanes - 1);
      const hn::Rebind<std::uint8_t, D> byte;
      const auto drawn = MagnitudeBytes(d, square(Slot(lane, kLanes)), square(Slot(next, kLanes)));
      hn::StoreU(hn::LowerHalf(byte, drawn), byte, bytes + side * lane + v);
      hn::StoreU(hn::UpperHalf(byte, drawn), byte, bytes + side * next + v);
    }
  }
}

/// Copies rows of bytes to the map.
void DrawRows(const FourierLines& lines, std::ptrdiff_t firstRun, std::ptrdiff_t lanes,
              std::ptrdiff_t width, std::ptrdiff_t height, std::uint8_t* cells) {
  const std::ptrdiff_t half = height / 2;
  for (std::ptrdiff_t lane = 0; lane < lanes; ++lane) {
    const std::uint8_t* bytes = lines.bytes.get() + lines.side * lane;
    std::uint8_t* row = cells + height * FftShift(firstRun + lane, width);
    std::copy_n(bytes, half, row + half);
    std::copy_n(bytes + half, lines.side - half, row);
  }
}

void TransformColumnRuns(const FourierLines& lines, const Complex* runs, std::ptrdiff_t width,
                         std::ptrdiff_t height, Complex* out, std::uint8_t* cells) {
  const bool pastCaches = GoesPastCaches(lines, out, width, height);
  ForGroups(lines, 1, [&](auto d, std::ptrdiff_t groups, std::ptrdiff_t run) HWY_ATTR {
    using D = decltype(d);
    double* work = lines.work.get();
    std::uint8_t* bytes = cells ? lines.bytes.get() : nullptr;
    Gather(d, runs + height * run, height, lines.side, work);
    TransformLanes(d, lines, groups, FromWork<D>{work}, ToWork<D>{work});
    if (pastCaches)
      Spread<true>(d, lines, height, out + height * run, bytes);
    else
      Spread<false>(d, lines, height, out + height * run, bytes);
    if (cells)
      DrawRows(lines, run, static_cast<std::ptrdiff_t>(hn::Lanes(d)), width, height, cells);
  });
  hwy::FlushStream();
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(TransformLevelRows);
HWY_EXPORT(TransformElementRows);
HWY_EXPORT(TransformColumnRuns);

std::shared_ptr<Complex[]> MakeFourierFactors(int exponent) {
  const std::size_t count = std::size_t{1} << exponent;
  auto factors = AllocateArray<Complex>(count / 2);
  for (std::size_t i = 0; i < count / 2; ++i) {
    const double angle = static_cast<double>(i) * -6.283185307179586 / static_cast<double>(count);
    factors.get()[i] = RoundedUnit(angle);
  }
  return factors;
}

FourierLines::FourierLines(int newExponent, std::int32_t newLines, const Complex* newFactors,
                           int factorExponent)
    : exponent(newExponent),
      lines(newLines),
      side(std::ptrdiff_t{1} << exponent),
      lanes(lines < 4 * kLanes || side < kLanes ? 1 : kLanes),
      groups(lanes == 1 ? 1 : std::clamp<std::ptrdiff_t>(2048 / side, 1, 4)),  // 256 KiB in all
      factors(newFactors),
      factorStep(std::ptrdiff_t{1} << (factorExponent - exponent)),
      work(AllocateArray<double>(static_cast<std::size_t>(2 * groups * lanes * side))),
      bytes(AllocateArray<std::uint8_t>(static_cast<std::size_t>(groups * lanes * side))) {}

void FourierLines::TransformRows(ConstImageView levels, Complex* out) const {
  HWY_DYNAMIC_DISPATCH(TransformLevelRows)(*this, levels, out);
}

void FourierLines::TransformRows(const Complex* elements, std::int32_t width, std::int32_t height,
                                 Complex* out) const {
  HWY_DYNAMIC_DISPATCH(TransformElementRows)(*this, elements, width, height, out);
}

void FourierLines::TransformRuns(const Complex* runs, std::int32_t width, std::int32_t height,
                                 Complex* out, std::uint8_t* cells) const {
  HWY_DYNAMIC_DISPATCH(TransformColumnRuns)(*this, runs, width, height, out, cells);
}

}  // namespace rastelo

#endif  // HWY_ONCE
