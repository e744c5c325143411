#ifndef RASTELO_FREQUENCY_HALF_SHIFT_H
#define RASTELO_FREQUENCY_HALF_SHIFT_H

#include <cstddef>

namespace rastelo {

/// Moves place 0 of a side to its middle. Of an odd side, the last place comes there too, and none
/// to the end.
constexpr std::ptrdiff_t HalfShift(std::ptrdiff_t place, std::ptrdiff_t side) {
  return place < side / 2 ? place + side / 2 : place - side / 2;
}

}  // namespace rastelo

#endif  // RASTELO_FREQUENCY_HALF_SHIFT_H
