#ifndef RASTELO_DEVICE_SURFACE_ROWS_H
#define RASTELO_DEVICE_SURFACE_ROWS_H

#include <cstddef>
#include <cstdint>

#include "pixels/image_view.h"

namespace rastelo {

/// Whether an area of a surface is too large to stay in the caches: it is written past them.
constexpr bool DrawsPastCaches(std::int64_t width, std::int64_t height) {
  return 4 * width * height > std::int64_t{1} << 20;
}

/// Widens pixels of 3 bytes to 4, the last of them 0. The rows lie `pitch` bytes apart on the
/// surface, which may be less than 0; pixels of it lie at multiples of 4.
void WidenPixels(ConstImageView bgr, std::uint8_t* surface, std::ptrdiff_t pitch);

/// Some columns of a bitmap of 3-byte pixels, side by side on a surface.
struct ColumnPicks {
  static constexpr std::int32_t kMost = 4096, kAlignment = 64;

  std::int32_t columns[kMost];
  std::int32_t count = 0;

  // From PlanPicks: groups of pixels, where their source begins, and where in the first or the
  // second half of it the bytes lie.
  std::int32_t groups = 0;
  std::int32_t starts[kMost / 4];
  alignas(kAlignment) std::uint8_t lows[4 * kMost], highs[4 * kMost];
  // From PickPixels: the row picked last.
  const std::uint8_t* row = nullptr;
  alignas(kAlignment) std::uint8_t picked[4 * kMost];
};

/// Works out how to pick `picks.columns` from rows of `width` pixels.
void PlanPicks(std::int32_t width, ColumnPicks& picks);

/// Draws the picked pixels of a row, widened like WidenPixels. `following` is the row that comes
/// next. What is drawn past the caches needs a call of EndPicks behind the last row.
void PickPixels(const std::uint8_t* row, const std::uint8_t* following, bool pastCaches,
                ColumnPicks& picks, std::uint8_t* surface);
void EndPicks();

}  // namespace rastelo

#endif  // RASTELO_DEVICE_SURFACE_ROWS_H
