// Included once for each instruction set, behind hwy/foreach_target.h.
#if defined(RASTELO_SIMD_GATHER_BYTES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RASTELO_SIMD_GATHER_BYTES_INL_H_
#undef RASTELO_SIMD_GATHER_BYTES_INL_H_
#else
#define RASTELO_SIMD_GATHER_BYTES_INL_H_
#endif

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <algorithm>

#include "simd/byte_pairs-inl.h"
#include "simd/gather_plan.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Bytes that are gathered at once, and the bytes of the row that they come from.
constexpr std::int32_t kGatherGroup = kHasBytePairs ? 64 : 16, kGatherWindow = 2 * kGatherGroup;
using GatheredBytes = hn::CappedTag<std::uint8_t, kGatherGroup>;

/// Plans the next group, from the places of its bytes in a row of at least a window.
/// @return false, with nothing planned, if they lie farther apart than a window is long.
template <std::int32_t kMost>
bool PlanGroup(const std::int32_t (&places)[kGatherGroup], std::int32_t rowBytes,
               GatherPlan<kMost>& plan) {
  constexpr std::uint8_t kNone = 0x80;  // gives 0
  const auto [lowest, highest] = std::minmax_element(places, places + kGatherGroup);
  const std::int32_t window = std::min(*lowest, rowBytes - kGatherWindow);
  if (*highest - window >= kGatherWindow) return false;
  for (std::int32_t i = 0; i < kGatherGroup; ++i) {
    const std::int32_t offset = places[i] - window, at = plan.groups * kGatherGroup + i;
    const bool isFirst = offset < kGatherGroup;
    plan.first[at] = kHasBytePairs || isFirst ? static_cast<std::uint8_t>(offset) : kNone;
    plan.second[at] = isFirst ? kNone : static_cast<std::uint8_t>(offset - kGatherGroup);
  }
  plan.windows[plan.groups++] = window;
  plan.span = std::max(plan.span, *highest - window + 1);
  return true;
}

/// Plans to gather byte `placeOf(i)` of a row of `rowBytes` bytes for each i below `count`. Ends
/// at the first group that cannot be planned; the last one may be filled beyond `count`.
template <std::int32_t kMost, class PlaceOf>
void PlanGather(std::int32_t count, std::int32_t rowBytes, PlaceOf placeOf,
                GatherPlan<kMost>& plan) {
  plan.groups = plan.span = 0;
  if (rowBytes < kGatherWindow) return;
  for (std::int32_t first = 0; first < count; first += kGatherGroup) {
    std::int32_t places[kGatherGroup];
    for (std::int32_t i = 0; i < kGatherGroup; ++i)
      places[i] = placeOf(std::min(first + i, count - 1));
    if (!PlanGroup(places, rowBytes, plan)) return;
  }
}

/// Fetches the bytes of a planned group to L1.
template <std::int32_t kMost>
HWY_INLINE void PrefetchGroup(const GatherPlan<kMost>& plan, std::int32_t group,
                              const std::uint8_t* row) {
  for (std::int32_t line = 0; line < plan.span; line += 64)
    hwy::Prefetch(row + plan.windows[group] + line);
}

/// The bytes of a planned group.
template <std::int32_t kMost>
HWY_INLINE hn::Vec<GatheredBytes> GatherGroup(const GatherPlan<kMost>& plan, std::int32_t group,
                                              const std::uint8_t* row) {
  const GatheredBytes d8;
  const std::uint8_t* window = row + plan.windows[group];
  const std::ptrdiff_t at = std::ptrdiff_t{group} * kGatherGroup;
  const auto low = hn::LoadU(d8, window), high = hn::LoadU(d8, window + kGatherGroup);
  if constexpr (kHasBytePairs)
    return PermutePair(low, high, hn::Load(d8, plan.first + at));
  else
    return hn::Or(hn::TableLookupBytesOr0(low, hn::Load(d8, plan.first + at)),
                  hn::TableLookupBytesOr0(high, hn::Load(d8, plan.second + at)));
}

/// Gathers what is planned of `row` to aligned memory, each group by way of `change(group, bytes)`.
/// @return how many places are done.
template <std::int32_t kMost, class Change>
HWY_INLINE std::int32_t GatherBytes(const GatherPlan<kMost>& plan, const std::uint8_t* row,
                                    const Change& change, std::uint8_t* gathered) {
  const std::int32_t groups = plan.groups;  // which no gathered byte aliases
  for (std::int32_t group = 0; group < groups; ++group)
    hn::Store(change(group, GatherGroup(plan, group, row)), GatheredBytes(),
              gathered + std::ptrdiff_t{group} * kGatherGroup);
  return groups * kGatherGroup;
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
