#pragma once

#include <cstdint>

namespace rastelo {

inline std::uint16_t Load16(const std::uint8_t* bytes) {
  return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

inline std::uint32_t Load32(const std::uint8_t* bytes) {
  return Load16(bytes) | std::uint32_t{Load16(bytes + 2)} << 16;
}

inline void Store16(std::uint8_t* bytes, std::uint32_t value) {
  bytes[0] = static_cast<std::uint8_t>(value);
  bytes[1] = static_cast<std::uint8_t>(value >> 8);
}

inline void Store32(std::uint8_t* bytes, std::uint32_t value) {
  Store16(bytes, value);
  Store16(bytes + 2, value >> 16);
}

}  // namespace rastelo
