#pragma once

#include <cstdint>

namespace rastelo {

/// One axis of a one-to-one draw.
struct PannedStart {
  std::int32_t source;  // first column or row of the source area
  std::int32_t offset;  // pan offset to keep for the next draw, never negative
};

/// Places a source area of `areaSide` pixels on an image of `imageSide` pixels. It starts centred,
///     base = max(0, (imageSide - areaSide) / 2),
/// moved by the pan offset and held within 0 to 2 * base. A negative offset holds once; its
/// absolute value is kept.
/// @param offset  the pan offset so far plus the new step, within -(2^31 - 1)..2^31 - 1.
PannedStart PlaceDrawArea(std::int32_t areaSide, std::int32_t imageSide, std::int32_t offset);

/// The low 32 bits of a sum, as 32-bit arithmetic gives them.
constexpr std::int32_t Wrap32(std::int64_t sum) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(sum));
}

}  // namespace rastelo
