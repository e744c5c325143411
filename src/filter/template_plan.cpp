#include "filter/template_plan.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <span>

namespace rastelo {
namespace {

/// No sum of the entries' terms gets larger than this, either way.
double LargestSum(std::span<const double> entries) {
  double largest = 0;
  for (const double entry : entries) largest += std::ceil(255 * std::abs(entry)) + 1;
  return largest;
}

/// Whether the factor gives each level's product without its fraction. This may not lie so close to
/// 1 that a sum rounds it up.
bool IsExactFactor(int factor, double entry, int fractionBits) {
  for (int level = 0; level < 256; ++level) {
    const double product = level * entry, whole = std::floor(product);
    if (product - whole > 1 - 0x1p-22 || (level * factor) >> fractionBits != whole) return false;
  }
  return true;
}

std::optional<std::int16_t> FindFactor(double entry, int fractionBits) {
  const double scaled = std::ldexp(entry, fractionBits);
  if (!(std::abs(scaled) < INT16_MAX)) return std::nullopt;
  for (const double rounded : {std::floor(scaled), std::ceil(scaled)}) {
    const auto factor = static_cast<std::int16_t>(rounded);
    if (IsExactFactor(factor, entry, fractionBits)) return factor;
  }
  return std::nullopt;
}

/// Where no entry is negative, sums lose the fraction of each product. Where one is, truncation
/// rounds negative sums up and a fraction counts as 1: there may be none.
bool FindFactors(std::span<const double> entries, int fractionBits, std::int16_t* factors) {
  const auto isNegative = [](double entry) { return entry < 0; };
  const auto isWhole = [](double entry) { return entry == std::trunc(entry); };
  if (std::any_of(entries.begin(), entries.end(), isNegative) &&
      !std::all_of(entries.begin(), entries.end(), isWhole))
    return false;
  for (const double entry : entries) {
    const std::optional<std::int16_t> factor = FindFactor(entry, fractionBits);
    if (!factor) return false;
    *factors++ = *factor;
  }
  return true;
}

/// Whether each product is the same whole number in single precision, or lies in both between the
/// same two, farther from them than the rounding of a sum, `reach`, moves it.
bool IsExactInSingle(double entry, double reach) {
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

bool AreExactInSingle(std::span<const double> entries, double largestSum) {
  const double reach = std::ldexp(largestSum, -23);
  return reach < 0.5 && std::all_of(entries.begin(), entries.end(),
                                    [&](double entry) { return IsExactInSingle(entry, reach); });
}

TemplateArithmetic ChooseArithmetic(std::span<const double> entries, std::int16_t* factors) {
  const double largest = LargestSum(entries);
  if (!(largest < 0x1p31)) return TemplateArithmetic::kWrapping;
  if (largest <= INT16_MAX && FindFactors(entries, 16, factors))
    return TemplateArithmetic::kFixed16;
  if (largest <= INT16_MAX && FindFactors(entries, 9, factors)) return TemplateArithmetic::kFixed9;
  return AreExactInSingle(entries, largest) ? TemplateArithmetic::kSingle
                                            : TemplateArithmetic::kDouble;
}

}  // namespace

TemplatePlan PlanTemplate(const double* entries, std::int32_t count) {
  TemplatePlan plan{};
  plan.arithmetic = ChooseArithmetic({entries, static_cast<std::size_t>(count)}, plan.factors);
  return plan;
}

}  // namespace rastelo
