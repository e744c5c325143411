#include "segment/ndhm.h"

#include <hwy/cache_control.h>

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "segment/ndhm.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

// Sums are kept modulo 2^32, in which order and grouping do not matter: the sum of a row's first
// neighbourhood, `side` bytes wide, and the steps from each to the next are carried from row to
// row. The compiler vectorises these loops.

/// Adds to each column of the neighbourhoods what `change(x)` says.
/// @return what the first sum grows by.
template <class Change>
HWY_INLINE std::uint32_t ChangeColumns(const Change& change, std::size_t side,
                                       std::span<std::uint32_t> steps) {
  std::uint32_t* HWY_RESTRICT step = steps.data();
  for (std::size_t x = 0; x < steps.size(); ++x)
    step[x] += static_cast<std::uint32_t>(change(x + side) - change(x));
  std::uint32_t sum = 0;
  for (std::size_t x = 0; x < side; ++x) sum += static_cast<std::uint32_t>(change(x));
  return sum;
}

/// Moves the neighbourhoods up by a row, or makes them higher by it where no row is `leaving`.
/// @return what the first sum grows by.
std::uint32_t MoveUp(const std::uint8_t* entering, const std::uint8_t* leaving, std::size_t side,
                     std::span<std::uint32_t> steps) {
  if (!leaving)
    return ChangeColumns([=](std::size_t x) HWY_ATTR { return entering[x]; }, side, steps);
  const auto change = [=](std::size_t x) HWY_ATTR { return entering[x] - leaving[x]; };
  return ChangeColumns(change, side, steps);
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {
namespace {

HWY_EXPORT(MoveUp);

/// Totals of every fourth pixel each: an equal neighbour would wait for the last total to be
/// stored.
using Totals = std::array<std::array<std::uint32_t, 256>, 4>;

/// Adds the contrasts of a row's pixels, of which the first has a neighbourhood of this sum and
/// area, and each has a step from its neighbourhood's sum to the next.
void AddContrasts(const std::uint8_t* level, std::uint32_t area, std::uint32_t sum,
                  std::span<const std::uint32_t> steps, Totals& totals) {
  const auto add = [&](std::uint32_t step, std::array<std::uint32_t, 256>& total) {
    total[*level] += area * *level - sum;
    sum += step;
    ++level;
  };
  std::size_t x = 0;
  for (; x + 4 <= steps.size(); x += 4)
    for (std::size_t i = 0; i < 4; ++i) add(steps[x + i], totals[i]);
  for (; x < steps.size(); ++x) add(steps[x], totals[0]);
}

}  // namespace

std::array<std::int32_t, 256> SumContrasts(ConstImageView gray, std::int32_t radius,
                                           std::span<std::uint32_t> work) {
  Totals totals{};
  if (radius > 0 && radius <= (gray.width - 1) / 2 && radius <= (gray.height - 1) / 2) {
    const auto side = 2 * static_cast<std::size_t>(radius);
    // There is no step from the last pixel: it stays 0.
    const auto steps = work.first(static_cast<std::size_t>(gray.width) - side);
    const auto carried = steps.first(steps.size() - 1);
    std::fill(steps.begin(), steps.end(), 0u);
    std::uint32_t sum = 0;
    for (std::int32_t y = 0; y < 2 * radius; ++y)
      sum += HWY_DYNAMIC_DISPATCH(MoveUp)(gray.Row(y), nullptr, side, carried);
    const auto area = static_cast<std::uint32_t>(side * side);
    for (std::int32_t y = radius;; ++y) {
      // The row to enter next comes from memory while the totals are waiting for their stores.
      for (std::int32_t x = 0; x < gray.width; x += 64) hwy::Prefetch(gray.Row(y + radius) + x);
      AddContrasts(gray.Row(y) + radius, area, sum, steps, totals);
      if (y + 1 == gray.height - radius) break;
      sum +=
          HWY_DYNAMIC_DISPATCH(MoveUp)(gray.Row(y + radius), gray.Row(y - radius), side, carried);
    }
  }
  std::array<std::int32_t, 256> result;
  for (std::size_t level = 0; level < result.size(); ++level)
    result[level] = static_cast<std::int32_t>(totals[0][level] + totals[1][level] +
                                              totals[2][level] + totals[3][level]);
  return result;
}

int FindContrastThreshold(const std::array<std::int32_t, 256>& totals) {
  const auto largest = std::max_element(totals.begin(), totals.end());
  return *largest > 0 ? static_cast<int>(largest - totals.begin()) : 0;
}

}  // namespace rastelo

#endif  // HWY_ONCE
