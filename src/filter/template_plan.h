#ifndef RASTELO_FILTER_TEMPLATE_PLAN_H
#define RASTELO_FILTER_TEMPLATE_PLAN_H

#include <cstdint>

namespace rastelo {

constexpr std::int32_t kLargestPlannedSize = 7;

/// In which numbers the sums of a template come out as in double precision.
enum class TemplateNumbers {
  kAny,     // its sums may leave 32 bits: only term by term
  kDouble,  // in double precision without a bound
  kSingle,  // in single precision
  kShort,   // in 16 bits: the whole part of a product is the upper half of level * factor
  kWhole,   // in 16 bits: of (level * 128) * factor
};

/// What is known of a template after a look at its entries.
struct TemplatePlan {
  TemplateNumbers numbers;
  std::int16_t factors[kLargestPlannedSize * kLargestPlannedSize];  // of 16 bits
};

/// Finds the narrowest numbers, proven with all 256 levels for each entry.
/// @param count  of the entries, at most those of the largest planned size.
TemplatePlan PlanTemplate(const double* entries, std::int32_t count);

}  // namespace rastelo

#endif  // RASTELO_FILTER_TEMPLATE_PLAN_H
