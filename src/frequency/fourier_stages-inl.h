// Included once for each instruction set, behind hwy/foreach_target.h.
//
// The stages of the Fourier transform, decimated in frequency (Gentleman and Sande 1966). A stage
// halves the blocks that the one before has left: a butterfly puts a + b in place of element a of
// the first half, and (a - b) * factor in place of element b of the second half. After the last
// stage the coefficients are in bit-reversed order.
//
// Several lines are transformed at a time, one in each lane of the vectors. Of four lines, `work`
// holds in their lanes' order (LaneOf):
//
//   line       0  2  1  3   0  2  1  3
//   element 0  re re re re  im im im im     vectors 0 and 1
//   element 1  re re re re  im im im im     vectors 2 and 3
//
// A pass goes through three stages in registers (radix 8). From a block of 8 * step elements it
// loads those that are `step` apart, i + k * step, and stores what they become in the same places:
//
//   k        0   1   2   3   4   5   6   7
//   stage 1  a0  a1  a2  a3  b0  b1  b2  b3     butterflies of ak and bk
//   stage 2  a0  a1  b0  b1  a2  a3  b2  b3
//   stage 3  a0  b0  a1  b1  a2  b2  a3  b3
#if defined(RASTELO_FREQUENCY_FOURIER_STAGES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RASTELO_FREQUENCY_FOURIER_STAGES_INL_H_
#undef RASTELO_FREQUENCY_FOURIER_STAGES_INL_H_
#else
#define RASTELO_FREQUENCY_FOURIER_STAGES_INL_H_
#endif

#include <hwy/highway.h>

#include "frequency/fourier_lines.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// A complex number in each lane. Constructors that the compiler makes lack the permission to use
/// this target's instructions.
template <class V>
struct ComplexLanes {
  HWY_INLINE HWY_ATTR ComplexLanes() {}
  HWY_INLINE HWY_ATTR ComplexLanes(V newRe, V newIm) : re(newRe), im(newIm) {}
  V re, im;
};

/// Replaces a by a + b, and b by (a - b) * factor.
template <class D, class V>
HWY_INLINE void Butterfly(D df, const Complex& factor, ComplexLanes<V>& a, ComplexLanes<V>& b) {
  const V re = hn::Sub(a.re, b.re), im = hn::Sub(a.im, b.im);
  const V factorRe = hn::Set(df, factor.re), factorIm = hn::Set(df, factor.im);
  a = {hn::Add(a.re, b.re), hn::Add(a.im, b.im)};
  b = {hn::Sub(hn::Mul(re, factorRe), hn::Mul(im, factorIm)),
       hn::Add(hn::Mul(re, factorIm), hn::Mul(im, factorRe))};
}

/// The factors of a stage, one for each element of a half block.
struct Factors {
  const Complex* first;
  std::ptrdiff_t step;
  const Complex& operator[](std::ptrdiff_t i) const { return first[i * step]; }
  /// Those of the next stage.
  Factors Next() const { return {first, 2 * step}; }
};

/// The first stage of z[k], element i + k * step of a block of kCount * step.
template <int kCount, class D, class V>
HWY_INLINE void Stage(D df, const Factors& factors, std::ptrdiff_t i, std::ptrdiff_t step,
                      ComplexLanes<V>* z) {
  for (int k = 0; k < kCount / 2; ++k)
    Butterfly(df, factors[i + k * step], z[k], z[kCount / 2 + k]);
}

/// All log2(kCount) stages of them; done(z + k) takes each result.
template <int kCount, class D, class V, class Done>
HWY_INLINE void Stages(D df, const Factors& factors, std::ptrdiff_t i, std::ptrdiff_t step,
                       ComplexLanes<V>* z, const Done& done) {
  Stage<kCount>(df, factors, i, step, z);
  if constexpr (kCount == 8) {  // half by half: few processors have registers for all results
    Stages<4>(df, factors.Next(), i, step, z, done);
    Stages<4>(df, factors.Next(), i, step, z + 4, done);
  } else {
    if constexpr (kCount == 4) {
      Stage<2>(df, factors.Next(), i, step, z);
      Stage<2>(df, factors.Next(), i, step, z + 2);
    }
    for (int k = 0; k < kCount; ++k) done(z + k);
  }
}

/// A pass of `kStages` stages, at most 3, over the blocks of 2^exponent elements from `begin` to
/// `end`. load(block, i) gives element i of the block at `block`; store(block, i, z) takes what it
/// becomes.
template <int kStages, class D, class Load, class Store>
HWY_INLINE void Pass(D df, const FourierLines& lines, int exponent, std::ptrdiff_t begin,
                     std::ptrdiff_t end, const Load& load, const Store& store) {
  constexpr int kRadix = 1 << kStages;
  const std::ptrdiff_t size = std::ptrdiff_t{1} << exponent, step = size >> kStages;
  const Factors factors{lines.factors, lines.factorStep << (lines.exponent - exponent)};
  for (std::ptrdiff_t block = begin; block < end; block += size) {
    for (std::ptrdiff_t i = 0; i < step; ++i) {
      ComplexLanes<hn::Vec<D>> z[kRadix];
      for (int k = 0; k < kRadix; ++k) z[k] = load(block, i + k * step);
      Stages<kRadix>(df, factors, i, step, z, [&](const ComplexLanes<hn::Vec<D>>* zk) HWY_ATTR {
        store(block, i + (zk - z) * step, *zk);
      });
    }
  }
}

/// What passes load from `work` and store there.
template <class D>
struct LoadWork {
  double* work;
  HWY_INLINE HWY_ATTR ComplexLanes<hn::Vec<D>> operator()(std::ptrdiff_t block,
                                                          std::ptrdiff_t i) const {
    const D df;
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(df));
    const double* from = work + 2 * lanes * (block + i);
    return {hn::Load(df, from), hn::Load(df, from + lanes)};
  }
};
template <class D>
struct StoreWork {
  double* work;
  HWY_INLINE HWY_ATTR void operator()(std::ptrdiff_t block, std::ptrdiff_t i,
                                      const ComplexLanes<hn::Vec<D>>& z) const {
    const D df;
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(df));
    double* to = work + 2 * lanes * (block + i);
    hn::Store(z.re, df, to);
    hn::Store(z.im, df, to + lanes);
  }
};

/// The stages that take blocks of 2^exponent elements to blocks of 2^last, within `work`.
template <class D>
HWY_NOINLINE HWY_ATTR void WorkPasses(D df, const FourierLines& lines, int exponent, int last,
                                      std::ptrdiff_t begin, std::ptrdiff_t end) {
  const LoadWork<D> load{lines.work.get()};
  const StoreWork<D> store{lines.work.get()};
  for (; exponent - last >= 3; exponent -= 3) Pass<3>(df, lines, exponent, begin, end, load, store);
  if (exponent - last == 2) Pass<2>(df, lines, exponent, begin, end, load, store);
  if (exponent - last == 1) Pass<1>(df, lines, exponent, begin, end, load, store);
}

/// All stages of `groups` groups of lines, whose elements `load` gives one group after another.
/// `store` gets the coefficients in bit-reversed order, groups alternating after eight. After the
/// first pass, each eighth of the lines goes through all others while it is in L1.
template <class D, class Load, class Store>
HWY_INLINE void TransformLanes(D df, const FourierLines& lines, std::ptrdiff_t groups,
                               const Load& load, const Store& store) {
  const LoadWork<D> loadWork{lines.work.get()};
  const StoreWork<D> storeWork{lines.work.get()};
  const std::ptrdiff_t length = lines.length, end = groups * length, eighth = length / 8;
  if (lines.exponent < 6) {
    Pass<0>(df, lines, 0, 0, end, load, storeWork);
    WorkPasses(df, lines, lines.exponent, 0, 0, end);
    return Pass<0>(df, lines, 0, 0, end, loadWork, store);
  }
  Pass<3>(df, lines, lines.exponent, 0, end, load, storeWork);
  for (std::ptrdiff_t begin = 0; begin < length; begin += eighth) {
    for (std::ptrdiff_t first = begin; first < end; first += length)
      WorkPasses(df, lines, lines.exponent - 3, 3, first, first + eighth);
    for (std::ptrdiff_t block = begin; block < begin + eighth; block += 8)
      for (std::ptrdiff_t first = block; first < end; first += length)
        Pass<3>(df, lines, 3, first, first + 8, loadWork, store);
  }
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
