#pragma once

#include <span>

#include "pixels/image_view.h"

namespace rastelo {

/// What is known of one column of pixels.
struct ColumnLight {
  std::int64_t count, sum, squares;  // of the pixels that take part
  std::uint8_t mean;                 // truncated
  double deviation;                  // from that mean, over count - 1
  std::int64_t gain, offset;         // what LiftColumns makes of a pixel
};

/// Measures the columns of an 8-bit image: pixels of at most `limit` take part. The mean of none is
/// 0; the deviation of fewer than two is 0.
/// @param columns  W entries, of any content.
void MeasureColumns(ConstImageView gray, int limit, std::span<ColumnLight> columns);

/// Lifts dark columns towards the bright ones. The reference is the truncated mean of the means
/// above their upper median, and the mean of those columns' deviations, in ascending order. In a
/// column that is not brighter than it, pixels of at most 240 become
///     min(255, pixel * gain + (reference - mean)),
/// gain being the truncated quotient of the reference's deviation by the column's where that is the
/// smaller, else 1. A column of one level stays where the reference's deviation is above 0. Without
/// a column above the median there is no reference, and the pixels stay.
/// @return whether a byte has changed.
bool LiftColumns(ImageView gray, std::span<ColumnLight> columns);

}  // namespace rastelo
