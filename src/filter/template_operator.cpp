#include "filter/template_operator.h"

#include <algorithm>
#include <cstdlib>

#include "filter/template_plan.h"
#include "numeric/truncate.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/template_operator.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

#include "filter/wavefront-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Sums in single or double precision, truncated after each term.
template <class Float>
struct FloatTerms {
  using Cell = Float;

  template <class D>
  static auto FromBytes(D df, const std::uint8_t* bytes) {
    const hn::Rebind<std::uint8_t, D> d8;
    const hn::Rebind<std::int32_t, D> d32;
    const auto levels = hn::PromoteTo(d32, hn::LoadU(d8, bytes));
    if constexpr (sizeof(Float) == 8)
      return hn::PromoteTo(df, levels);
    else
      return hn::ConvertTo(df, levels);
  }
  template <class D>
  static void ToBytes(D, hn::Vec<D> cells, std::uint8_t* bytes) {
    const hn::Rebind<std::uint8_t, D> d8;
    const hn::Rebind<std::int32_t, D> d32;
    if constexpr (sizeof(Float) == 8)
      hn::StoreU(hn::DemoteTo(d8, hn::DemoteTo(d32, cells)), d8, bytes);
    else
      hn::StoreU(hn::DemoteTo(d8, hn::ConvertTo(d32, cells)), d8, bytes);
  }
  template <class V>
  static V Add(V sum, V level, V entry) {
    return hn::Trunc(hn::Add(hn::Mul(level, entry), sum));
  }
  template <class V>
  static V FromLevel(V level) {
    return level;
  }
};

/// Sums of the upper halves of 32-bit products. Cells hold levels shifted to the left by what the
/// factors lack to 16 bits behind the point.
template <int kFractionBits>
struct FixedPointTerms {
  using Cell = std::int16_t;
  static constexpr int kShift = 16 - kFractionBits;

  template <class D>
  static auto FromBytes(D d16, const std::uint8_t* bytes) {
    const hn::Rebind<std::uint8_t, D> d8;
    return FromLevel(hn::PromoteTo(d16, hn::LoadU(d8, bytes)));
  }
  template <class D>
  static void ToBytes(D, hn::Vec<D> cells, std::uint8_t* bytes) {
    const hn::Rebind<std::uint8_t, D> d8;
    hn::StoreU(hn::DemoteTo(d8, hn::ShiftRight<kShift>(cells)), d8, bytes);
  }
  template <class V>
  static V Add(V sum, V level, V factor) {
    return hn::Add(sum, hn::MulHigh(level, factor));
  }
  template <class V>
  static V FromLevel(V level) {
    return hn::ShiftLeft<kShift>(level);
  }
};

/// The sums of pixels, in the order of the entries. Several vectors at a time keep the processor
/// busy, as each addition waits for the one before it.
template <std::int32_t kSize, class Terms>
struct Template : Terms {
  using Cell = typename Terms::Cell;
  static constexpr std::ptrdiff_t kHalo = kSize / 2, kRows = 64, kVectors = sizeof(Cell);

  template <class Entry>
  explicit Template(const Entry* from) {
    for (std::int32_t i = 0; i < kSize * kSize; ++i) entries[i] = static_cast<Cell>(from[i]);
  }

  template <class D>
  void operator()(D d, const Cell* cells, hn::Vec<D>* sums) const {
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    for (std::ptrdiff_t v = 0; v < kVectors; ++v) sums[v] = hn::Zero(d);
    const Cell* entry = entries;
    for (std::ptrdiff_t up = -kHalo; up <= kHalo; ++up) {
      for (std::ptrdiff_t right = -kHalo; right <= kHalo; ++right) {
        const Cell* levels = cells + WavefrontWindow<Template>::Neighbour(up, right);
        const auto factor = hn::Set(d, *entry++);
        for (std::ptrdiff_t v = 0; v < kVectors; ++v)
          sums[v] = Terms::Add(sums[v], hn::LoadU(d, levels + v * lanes), factor);
      }
    }
    for (std::ptrdiff_t v = 0; v < kVectors; ++v)
      sums[v] = Terms::FromLevel(hn::Min(hn::Abs(sums[v]), hn::Set(d, Cell{255})));
  }

  Cell entries[kSize * kSize];
};

template <std::int32_t kSize>
void ApplyPlanned(ImageView gray, const double* entries, const TemplatePlan& plan) {
  switch (plan.arithmetic) {
    case TemplateArithmetic::kFixed16:
      return Wavefront(gray, Template<kSize, FixedPointTerms<16>>(plan.factors)).Run();
    case TemplateArithmetic::kFixed9:
      return Wavefront(gray, Template<kSize, FixedPointTerms<9>>(plan.factors)).Run();
    case TemplateArithmetic::kSingle:
      return Wavefront(gray, Template<kSize, FloatTerms<float>>(entries)).Run();
    default:
      return Wavefront(gray, Template<kSize, FloatTerms<double>>(entries)).Run();
  }
}

void ApplyPlan(ImageView gray, const double* entries, std::int32_t size, const TemplatePlan& plan) {
  if (size == 3)
    ApplyPlanned<3>(gray, entries, plan);
  else if (size == 5)
    ApplyPlanned<5>(gray, entries, plan);
  else
    ApplyPlanned<7>(gray, entries, plan);
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {
namespace {

/// Any template, term by term.
void ApplyWrapping(ImageView gray, const double* entries, std::int32_t size) {
  const std::int32_t half = size / 2, first = std::max(1, half);
  for (std::int32_t y = first; y < gray.height - half; ++y) {
    for (std::int32_t x = first; x < gray.width - half; ++x) {
      const double* entry = entries;
      std::int32_t sum = 0;
      for (std::int32_t r = y - half; r <= y + half; ++r)
        for (std::int32_t c = x - half; c <= x + half; ++c)
          sum = LowInt32(gray.Row(r)[c] * *entry++ + sum);
      gray.Row(y)[x] =
          static_cast<std::uint8_t>(std::min<std::int64_t>(std::abs(std::int64_t{sum}), 255));
    }
  }
}

}  // namespace

HWY_EXPORT(ApplyPlan);

void ApplyTemplate(ImageView gray, const double* entries, std::int32_t size) {
  TemplatePlan plan{};
  if (size >= 3 && size <= kLargestPlannedSize) plan = PlanTemplate(entries, size * size);
  if (plan.arithmetic == TemplateArithmetic::kWrapping) return ApplyWrapping(gray, entries, size);
  HWY_DYNAMIC_DISPATCH(ApplyPlan)(gray, entries, size, plan);
}

}  // namespace rastelo

#endif  // HWY_ONCE
