#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace rastelo {

/// The slots that write their pixel in a step: those of [begin, end), and those from `previous` on,
/// which are still in the band before.
struct ActiveSlots {
  std::ptrdiff_t begin, end, previous;
};

/// Where the rows of a wavefront are in each step.
///
/// A filter in place reads below and to the left what it has written, above and to the right what
/// it has not. So kRows rows, a band, can be filtered side by side, each in a slot of its own, if
/// each row lags kLag columns behind the one below it. Here kRows = 4, kHalo = 1 and kLag = 3; step
/// 10 writes the pixels x, the pixels o are written, the neighbours of one x are framed:
///
///     slot  4  row 5  - . . . . . . . . . . .  halo: only read
///     slot  3  row 4  - x .[. . .]. . . . . .
///     slot  2  row 3  - o o[o x .]. . . . . .
///     slot  1  row 2  - o o[o o o]o x . . . .
///     slot  0  row 1  - o o o o o o o o o x .
///     slot -1  row 0  - - - - - - - - - - - -  halo: only read
///
/// In step t, slot s is in column t - kLag * s. After a period of steps it starts on the next band,
/// kRows rows higher, while the slots above it end the band before. Columns past the image's width
/// fill short rows up to a period.
/// @tparam kHalo  rows and columns around a pixel that it reads; as many stay at each border.
template <std::ptrdiff_t kHalo, std::ptrdiff_t kRows>
class WavefrontSchedule {
 public:
  /// One more than needed, so that no load waits for a store of the step before.
  static constexpr std::ptrdiff_t kLag = kHalo + 2;
  /// Steps from a pixel to its farthest neighbour, and over all rows of a band.
  static constexpr std::ptrdiff_t kReach = (kLag + 1) * kHalo, kSkew = kLag * kRows + kReach;
  static constexpr std::ptrdiff_t kShortBlock = 128, kLongBlock = 256;

  struct Place {
    std::ptrdiff_t row, column;
  };

  WavefrontSchedule(std::int32_t imageWidth, std::int32_t imageHeight)
      : width(imageWidth), rows(imageHeight - 2 * kHalo) {}

  bool IsEmpty() const { return rows <= 0 || width <= 2 * kHalo; }
  /// The steps to go through; pixels are read kReach steps ahead, first those of the halo below. A
  /// tall image has more steps than 32 bits count.
  std::int64_t Begin() const { return -kLag * kHalo - kReach; }
  std::int64_t End() const {
    const std::int64_t bands = (rows - 1) / kRows;
    return bands * period + width + kLag * (rows - bands * kRows);
  }

  Place PlaceOf(std::int64_t step, std::ptrdiff_t slot) const {
    const std::int64_t position = step - kLag * slot;  // at least -period
    const auto band = static_cast<std::ptrdiff_t>((position + period) / period - 1);
    return {kHalo + band * kRows + slot,
            static_cast<std::ptrdiff_t>(position - std::int64_t{period} * band)};
  }
  /// From the place of a slot to that of the next one in the same step.
  Place NextSlot(Place place) const {
    const bool isBandBefore = place.column < kLag;
    return {place.row + 1 - (isBandBefore ? kRows : 0),
            place.column - kLag + (isBandBefore ? period : 0)};
  }

  /// Whether all slots are active in the band, and otherwise those that are.
  /// @param column  of slot 0.
  bool AreAllActive(std::ptrdiff_t column) const {
    return column >= kHalo + kLag * (kRows - 1) && column < width - kHalo;
  }
  ActiveSlots FindActive(std::ptrdiff_t column) const {
    const std::ptrdiff_t left = column - kHalo, right = column - (width - kHalo);
    return {right < 0 ? 0 : std::min(right / kLag + 1, kRows),
            left < 0 ? 0 : std::min(left / kLag + 1, kRows),
            std::min((right + period) / kLag + 1, kRows)};
  }

  const std::ptrdiff_t width, rows;  // rows that are written
  // Steps whose pixels are read from the image, and later written back, at once. The band before
  // must have been written back when a band reads it: in short rows, blocks are short as well.
  const std::ptrdiff_t blockSteps = width < kSkew + kLongBlock ? kShortBlock : kLongBlock;
  const std::ptrdiff_t period = std::max(width, kSkew + blockSteps);
};

}  // namespace rastelo
