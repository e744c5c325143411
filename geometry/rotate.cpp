#include "geometry/rotate.h"

#include <algorithm>

namespace rastelo {
namespace {

// Squares of this many pixels a side keep both the rows read and the rows written in the cache.
constexpr std::int32_t kTile = 32;

template <int kPixelBytes>
void RotateTiles(ConstImageView source, Turn turn, ImageView target) {
  // Along a target row the source row changes by one; along a target column, the source column.
  const bool counter = turn == Turn::kCounterClockwise;
  for (std::int32_t top = 0; top < target.height; top += kTile) {
    const std::int32_t bottom = std::min(top + kTile, target.height);
    for (std::int32_t left = 0; left < target.width; left += kTile) {
      const std::int32_t right = std::min(left + kTile, target.width);
      for (std::int32_t i = top; i < bottom; ++i) {
        const std::ptrdiff_t column = counter ? i : source.width - 1 - i;
        std::uint8_t* to = target.Row(i) + std::ptrdiff_t{left} * kPixelBytes;
        for (std::int32_t j = left; j < right; ++j) {
          const std::int32_t row = counter ? source.height - 1 - j : j;
          const std::uint8_t* from = source.Row(row) + column * kPixelBytes;
          for (int b = 0; b < kPixelBytes; ++b) *to++ = from[b];
        }
      }
    }
  }
}

}  // namespace

void RotateQuarter(ConstImageView source, int pixelBytes, Turn turn, ImageView target) {
  if (pixelBytes == 1) RotateTiles<1>(source, turn, target);
  if (pixelBytes == 3) RotateTiles<3>(source, turn, target);
}

}  // namespace rastelo
