#pragma once

#include <cstdint>

namespace rastelo {

constexpr std::int32_t kLargestPlannedSize = 7;

/// The arithmetic that gives a template's sums to the last bit.
enum class TemplateArithmetic {
  kWrapping,  // double precision, the sum reduced to its low 32 bits at every term
  kDouble,    // double precision; no sum leaves 32 bits
  kSingle,    // single precision
  kFixed16,   // 16-bit multiply-high by factors in fixed point, of 16 bits behind the point
  kFixed9,    // of 9 bits behind the point
};

struct TemplatePlan {
  TemplateArithmetic arithmetic;
  std::int16_t factors[kLargestPlannedSize * kLargestPlannedSize];  // in fixed point
};

/// Finds the fastest exact arithmetic, proven with all 256 levels for each entry.
/// @param count  of the entries, at most those of the largest planned size.
TemplatePlan PlanTemplate(const double* entries, std::int32_t count);

}  // namespace rastelo
