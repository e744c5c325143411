// Included once for each instruction set, behind hwy/foreach_target.h.
#if defined(RASTELO_SIMD_NON_TEMPORAL_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RASTELO_SIMD_NON_TEMPORAL_INL_H_
#undef RASTELO_SIMD_NON_TEMPORAL_INL_H_
#else
#define RASTELO_SIMD_NON_TEMPORAL_INL_H_
#endif

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

#include "simd/non_temporal.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Behind the last non-temporal store of an operation belongs a call of hwy::FlushStream.

/// Copies the whole vectors of `count` bytes by non-temporal stores to where vectors are aligned.
/// @return the bytes that they hold.
HWY_INLINE std::size_t CopyVectorsNonTemporal(const std::uint8_t* from, std::size_t count,
                                              std::uint8_t* to) {
  const hn::ScalableTag<std::uint8_t> d8;
  std::size_t i = 0;
  for (; i + hn::Lanes(d8) <= count; i += hn::Lanes(d8))
    hn::Stream(hn::LoadU(d8, from + i), d8, to + i);
  return i;
}

/// Copies bytes by non-temporal stores, those before and behind aligned vectors by others.
inline void CopyNonTemporal(const std::uint8_t* from, std::size_t count, std::uint8_t* to) {
  const std::size_t lanes = hn::Lanes(hn::ScalableTag<std::uint8_t>());
  std::size_t i = std::min(count, -reinterpret_cast<std::uintptr_t>(to) % lanes);
  std::memcpy(to, from, i);
  i += CopyVectorsNonTemporal(from + i, count - i, to + i);
  std::memcpy(to + i, from + i, count - i);
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
