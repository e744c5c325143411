#pragma once

#include <cstdint>

namespace rastelo {

/// How to gather bytes of a row to at most `kMost` places side by side, a multiple of 64. Those of
/// a group of places come from one window of the row, two vectors long (simd/gather_bytes-inl.h).
template <std::int32_t kMost>
struct GatherPlan {
  std::int32_t groups = 0;           // planned, from the first place on
  std::int32_t span = 0;             // bytes from a window's start that the groups use at most
  std::int32_t windows[kMost / 16];  // where in the row each group's window starts
  // Where in the window's first and second vector the byte for a place lies.
  alignas(64) std::uint8_t first[kMost], second[kMost];
};

}  // namespace rastelo
