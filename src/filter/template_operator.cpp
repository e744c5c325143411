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

/// Terms in floating point, of which a sum loses its fraction each time.
template <class Number>
struct FloatTerms {
  using Cell = Number;

  template <class D>
  static auto FromBytes(D d, const std::uint8_t* bytes) {
    const hn::Rebind<std::uint8_t, D> d8;
    const hn::Rebind<std::int32_t, D> d32;
    const auto levels = hn::PromoteTo(d32, hn::LoadU(d8, bytes));
    if constexpr (sizeof(Number) == 8)
      return hn::PromoteTo(d, levels);
    else
      return hn::ConvertTo(d, levels);
  }
  template <class D>
  static void ToBytes(D, hn::Vec<D> cells, std::uint8_t* bytes) {
    const hn::Rebind<std::uint8_t, D> d8;
    const hn::Rebind<std::int32_t, D> d32;
    if constexpr (sizeof(Number) == 8)
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

/// Terms of 16 bits, the upper half of a product. Cells hold levels shifted to the left.
template <int kShift>
struct ShortTerms {
  using Cell = std::int16_t;

  template <class D>
  static auto FromBytes(D d, const std::uint8_t* bytes) {
    return FromLevel(hn::PromoteTo(d, hn::LoadU(hn::Rebind<std::uint8_t, D>(), bytes)));
  }
  template <class D>
  static void ToBytes(D, hn::Vec<D> cells, std::uint8_t* bytes) {
    const hn::Rebind<std::uint8_t, D> d8;
    hn::StoreU(hn::DemoteTo(d8, hn::ShiftRight<kShift>(cells)), d8, bytes);
  }
  template <class V>
  static V Add(V sum, V level, V entry) {
    return hn::Add(sum, hn::MulHigh(level, entry));
  }
  template <class V>
  static V FromLevel(V level) {
    return hn::ShiftLeft<kShift>(level);
  }
};

/// Sums the terms up in the order of the entries, for some vectors at a time: one goes on while the
/// others wait.
template <std::int32_t kSize, class Terms>
struct Template : Terms {
  using Cell = typename Terms::Cell;
  static constexpr std::ptrdiff_t kHalf = kSize / 2, kRows = 64, kVectors = sizeof(Cell);

  template <class Entry>
  explicit Template(const Entry* from) {
    for (std::int32_t i = 0; i < kSize * kSize; ++i) entries[i] = static_cast<Cell>(from[i]);
  }

  template <class D>
  void operator()(D d, const Cell* cells, hn::Vec<D>* sums) const {
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    for (std::ptrdiff_t v = 0; v < kVectors; ++v) sums[v] = hn::Zero(d);
    const Cell* entry = entries;
    for (std::ptrdiff_t up = -kHalf; up <= kHalf; ++up) {
      for (std::ptrdiff_t right = -kHalf; right <= kHalf; ++right) {
        const Cell* levels = cells + Wavefront<Template>::Neighbour(up, right);
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
  switch (plan.numbers) {
    case TemplateNumbers::kShort:
      return Wavefront(gray, Template<kSize, ShortTerms<0>>(plan.factors)).Run();
    case TemplateNumbers::kWhole:
      return Wavefront(gray, Template<kSize, ShortTerms<7>>(plan.factors)).Run();
    case TemplateNumbers::kSingle:
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

void ApplyTermByTerm(ImageView gray, const double* entries, std::int32_t size) {
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
  TemplatePlan plan{TemplateNumbers::kAny, {}};
  if (size >= 3 && size <= kLargestPlannedSize) plan = PlanTemplate(entries, size * size);
  if (plan.numbers == TemplateNumbers::kAny) return ApplyTermByTerm(gray, entries, size);
  HWY_DYNAMIC_DISPATCH(ApplyPlan)(gray, entries, size, plan);
}

}  // namespace rastelo

#endif  // HWY_ONCE
