#pragma once

#include <cstdint>

namespace rastelo {

/// The whole part of a number; 0 for one that 64 bits cannot hold, and for none.
constexpr std::int64_t Truncate(double value) {
  constexpr double kLimit = 9223372036854775808.0;  // 2^63
  return value > -kLimit && value < kLimit ? static_cast<std::int64_t>(value) : 0;
}

/// The low 8 or 32 bits of the whole part.
constexpr std::uint8_t LowByte(double value) { return static_cast<std::uint8_t>(Truncate(value)); }
constexpr std::int32_t LowInt32(double value) { return static_cast<std::int32_t>(Truncate(value)); }

}  // namespace rastelo
