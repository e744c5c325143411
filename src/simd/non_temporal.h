#pragma once

#include <cstdint>

namespace rastelo {

// Non-temporal stores write past the caches: a line of the result is not read before it is written,
// and drives no source out. Who reads the result soon after waits for memory.

/// Results of so many bytes and more are written so: they would not stay in L2.
constexpr std::int64_t kNonTemporalBytes = std::int64_t{2} << 20;

/// The same for what an operation reads again itself, which the last cache may still keep.
constexpr std::int64_t kNonTemporalBytesReadAgain = std::int64_t{16} << 20;

}  // namespace rastelo
