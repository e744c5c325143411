#pragma once

#include <cstddef>

namespace rastelo {

/// Moves index 0, the zero frequency, to the middle of `size` indices: exchanges the halves. Of an
/// odd size, the last index comes to the middle, too, and none to the end.
constexpr std::ptrdiff_t FftShift(std::ptrdiff_t index, std::ptrdiff_t size) {
  return index < size / 2 ? index + size / 2 : index - size / 2;
}

}  // namespace rastelo
