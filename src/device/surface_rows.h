#pragma once

#include <cstddef>
#include <cstdint>

#include "pixels/image_view.h"
#include "simd/gather_plan.h"
#include "simd/non_temporal.h"

namespace rastelo {

/// Whether an area of a surface is drawn by non-temporal stores.
constexpr bool DrawsNonTemporally(std::int64_t width, std::int64_t height) {
  return 4 * width * height >= kNonTemporalBytes;
}

/// Widens pixels of 3 bytes to 4, the last of them 0. The rows lie `pitch` bytes apart on the
/// surface, which may be less than 0; pixels of it lie at multiples of 4.
void WidenPixels(ConstImageView bgr, std::uint8_t* surface, std::ptrdiff_t pitch);

/// Some columns of a bitmap of 3-byte pixels, side by side on a surface.
struct ColumnGather {
  static constexpr std::int32_t kMost = 4096;

  std::int32_t columns[kMost];
  std::int32_t count = 0;

  GatherPlan<4 * kMost> plan;         // from PlanColumns
  const std::uint8_t* row = nullptr;  // whose pixels GatherPixels has gathered last
  alignas(64) std::uint8_t pixels[4 * kMost];
};

/// Works out how to gather `gather.columns` from rows of `width` pixels.
void PlanColumns(std::int32_t width, ColumnGather& gather);

/// Draws the gathered pixels of a row, widened like WidenPixels. `following` is the row that comes
/// next. Behind the last non-temporal one belongs a call of hwy::FlushStream.
void GatherPixels(const std::uint8_t* row, const std::uint8_t* following, bool nonTemporal,
                  ColumnGather& gather, std::uint8_t* surface);

}  // namespace rastelo
