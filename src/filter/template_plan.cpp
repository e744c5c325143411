#include "filter/template_plan.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <span>

namespace rastelo {
namespace {

constexpr int kWholeShift = 7;

/// No sum of the entries' terms gets larger than this, either way.
double LargestSum(std::span<const double> entries) {
  double largest = 0;
  for (const double entry : entries) largest += std::ceil(255 * std::abs(entry)) + 1;
  return largest;
}

/// A factor that gives the whole part of the product with each level, if there is one. The fraction
/// of a product may not lie so close to 1 that a sum of up to 2^31 rounds it up.
std::optional<std::int16_t> FindFactor(double entry, int shift) {
  const double scaled = std::ldexp(entry, 16 - shift);
  if (!(std::abs(scaled) < INT16_MAX)) return std::nullopt;
  for (const double candidate : {std::floor(scaled), std::ceil(scaled)}) {
    const int factor = static_cast<int>(candidate);
    const auto holds = [&](int level) {
      const double product = level * entry, whole = std::floor(product);
      return product - whole <= 1 - 0x1p-22 && (level * (1 << shift) * factor) >> 16 == whole;
    };
    int level = 0;
    while (level < 256 && holds(level)) ++level;
    if (level == 256) return static_cast<std::int16_t>(factor);
  }
  return std::nullopt;
}

/// Where no entry is negative, sums lose the fraction of each product. Where one is, a fraction
/// counts in a negative sum, and so there may be none.
bool FindFactors(std::span<const double> entries, int shift, std::int16_t* factors) {
  const auto isWhole = [](double entry) { return entry == std::trunc(entry); };
  const bool isNegative =
      std::any_of(entries.begin(), entries.end(), [](double e) { return e < 0; });
  if (isNegative && !std::all_of(entries.begin(), entries.end(), isWhole)) return false;
  for (const double entry : entries) {
    const std::optional<std::int16_t> factor = FindFactor(entry, shift);
    if (!factor) return false;
    *factors++ = *factor;
  }
  return true;
}

/// Whether single precision gives the same: a product is the same whole number there, or lies
/// between the same whole numbers, farther from them than the rounding of a sum reaches.
bool FitsSingle(double entry, double reach) {
  for (int level = 0; level < 256; ++level) {
    const double product = level * entry, whole = std::floor(product);
    const double single = static_cast<float>(level) * static_cast<float>(entry);
    const auto isBetween = [&](double value) {
      return value - whole > reach && whole + 1 - value > reach;
    };
    if (product == whole ? single != product : !isBetween(product) || !isBetween(single))
      return false;
  }
  return true;
}

}  // namespace

TemplatePlan PlanTemplate(const double* entries, std::int32_t count) {
  TemplatePlan plan{TemplateNumbers::kAny, {}};
  const std::span all(entries, static_cast<std::size_t>(count));
  const double largest = LargestSum(all);
  if (!(largest < 0x1p31)) return plan;
  const double reach = std::ldexp(largest, -23);
  if (largest <= INT16_MAX && FindFactors(all, 0, plan.factors))
    plan.numbers = TemplateNumbers::kShort;
  else if (largest <= INT16_MAX && FindFactors(all, kWholeShift, plan.factors))
    plan.numbers = TemplateNumbers::kWhole;
  else if (reach < 0.5 && std::all_of(all.begin(), all.end(),
                                      [&](double entry) { return FitsSingle(entry, reach); }))
    plan.numbers = TemplateNumbers::kSingle;
  else
    plan.numbers = TemplateNumbers::kDouble;
  return plan;
}

}  // namespace rastelo
