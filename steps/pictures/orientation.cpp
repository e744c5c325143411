#include "steps/pictures/orientation.h"

#include <algorithm>

#include "geometry/rotate.h"

namespace rastelo::steps {
namespace {

/// Column i and column W - 1 - i change places.
void MirrorColumns(const PixelStore& pixels) {
  const std::ptrdiff_t pixelBytes = pixels.bitCount / 8;
  for (std::int32_t y = 0; y < pixels.height; ++y) {
    std::uint8_t* left = pixels.Pixels().Row(y);
    std::uint8_t* right = left + pixelBytes * (pixels.width - 1);
    for (; left < right; left += pixelBytes, right -= pixelBytes)
      std::swap_ranges(left, left + pixelBytes, right);
  }
}

PixelStore Rotated(const PixelStore& pixels, QuarterTurn turn) {
  auto rotated = PixelStore::ForOverwrite(pixels.height, pixels.width, pixels.bitCount);
  RotateQuarter(pixels.Pixels(), pixels.bitCount / 8, turn, rotated.Pixels());
  return rotated;
}

}  // namespace

void TurnUpright(Picture& picture, int orientation) {
  if (orientation < 2 || orientation > 8) return;
  picture.stored += ", orientation " + std::to_string(orientation);
  PixelStore& pixels = picture.pixels;
  if (orientation == 2 || orientation == 3) MirrorColumns(pixels);
  if (orientation == 5 || orientation == 8)
    pixels = Rotated(pixels, QuarterTurn::kCounterClockwise);
  if (orientation == 6 || orientation == 7) pixels = Rotated(pixels, QuarterTurn::kClockwise);
  if (orientation == 3 || orientation == 4 || orientation == 5 || orientation == 7)
    ReverseRows(pixels.Pixels());
  auto& resolution = picture.metadata.resolution;
  if (orientation >= 5 && resolution) std::swap(resolution->x, resolution->y);
}

}  // namespace rastelo::steps
