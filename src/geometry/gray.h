#pragma once

#include "pixels/image_view.h"
#include "pixels/pixel_store.h"

namespace rastelo {

/// trunc((green * 0.587 + blue * 0.114) + red * 0.299), in double precision, each product and each
/// sum rounded once. The weights are the luma weights of ITU-R BT.601 (1982).
constexpr std::uint8_t GrayLevel(std::uint8_t blue, std::uint8_t green, std::uint8_t red) {
  const double sum = green * 0.587 + blue * 0.114;
  return static_cast<std::uint8_t>(sum + red * 0.299);
}

/// Writes to `gray` the gray level of each pixel of `bgr`.
/// @param bgr   W x H pixels of 3 bytes, blue, green, red.
/// @param gray  W x H pixels of 1 byte. Bytes behind column W - 1 are left alone.
/// Needs equal sizes and no overlap; neither is checked. Cannot fail.
void BgrToGray(ConstImageView bgr, ImageView gray);

/// The gray levels in a new store, the bytes behind each row 0. Throws std::bad_alloc.
inline PixelStore ConvertToGray(ConstImageView bgr) {
  auto gray = PixelStore::Zeroed(bgr.width, bgr.height, 8);
  BgrToGray(bgr, gray.Pixels());
  return gray;
}

}  // namespace rastelo
