// Included once for each instruction set, behind hwy/foreach_target.h.
#if defined(RASTELO_SIMD_PICK_BYTES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RASTELO_SIMD_PICK_BYTES_INL_H_
#undef RASTELO_SIMD_PICK_BYTES_INL_H_
#else
#define RASTELO_SIMD_PICK_BYTES_INL_H_
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <cstring>
#include <optional>

#include "simd/byte_pairs-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Bytes that are picked at once, from twice as many.
constexpr std::int32_t kPickGroup = kHasBytePairs ? 64 : 16, kPickReach = 2 * kPickGroup;

/// Finds where a group picks from a row of `rowBytes` bytes, at least kPickReach.
/// @param places  of its bytes in the row.
/// @return where its source of kPickReach bytes starts; nothing if the places lie farther apart.
inline std::optional<std::ptrdiff_t> PlanGroup(const std::ptrdiff_t (&places)[kPickGroup],
                                               std::ptrdiff_t rowBytes, std::uint8_t* lows,
                                               std::uint8_t* highs) {
  constexpr std::uint8_t kNone = 0x80;
  const auto [lowest, highest] = std::minmax_element(places, places + kPickGroup);
  const std::ptrdiff_t start = std::min<std::ptrdiff_t>(*lowest, rowBytes - kPickReach);
  if (*highest - start >= kPickReach) return std::nullopt;
  for (std::int32_t i = 0; i < kPickGroup; ++i) {
    const std::ptrdiff_t offset = places[i] - start;
    const bool isLow = offset < kPickGroup;
    lows[i] = kHasBytePairs || isLow ? static_cast<std::uint8_t>(offset) : kNone;
    highs[i] = isLow ? kNone : static_cast<std::uint8_t>(offset - kPickGroup);
  }
  return start;
}

/// Picks a group as PlanGroup has noted it. Reads kPickReach bytes of its source.
HWY_INLINE auto PickGroup(const std::uint8_t* from, const std::uint8_t* lows,
                          const std::uint8_t* highs) {
  const hn::CappedTag<std::uint8_t, kPickGroup> d;
  const auto first = hn::LoadU(d, from), second = hn::LoadU(d, from + kPickGroup);
  if constexpr (kHasBytePairs)
    return PermutePair(first, second, hn::Load(d, lows));
  else
    return hn::Or(hn::TableLookupBytesOr0(first, hn::Load(d, lows)),
                  hn::TableLookupBytesOr0(second, hn::Load(d, highs)));
}

/// Copies past the caches. Needs hwy::FlushStream behind the last of many.
inline void StreamBytes(const std::uint8_t* from, std::size_t count, std::uint8_t* to) {
  const hn::ScalableTag<std::uint8_t> d;
  const std::size_t lanes = hn::Lanes(d);
  std::size_t i = std::min(count, -reinterpret_cast<std::uintptr_t>(to) % lanes);
  std::memcpy(to, from, i);
  for (; i + lanes <= count; i += lanes) hn::Stream(hn::LoadU(d, from + i), d, to + i);
  std::memcpy(to + i, from + i, count - i);
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
