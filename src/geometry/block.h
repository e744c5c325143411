#pragma once

#include "pixels/image_view.h"

namespace rastelo {

/// Copies the pixels of `image` from column `x`, row `y` on to `block`, as many as `block` has:
///     block(i, k) = image(x + i, y + k).
/// Pixels outside `image` and bytes behind each row of `block` are left alone. Any `x` and `y`.
/// @param pixelBytes  bytes of a pixel in both, 1 or 3.
void CopyBlock(ConstImageView image, std::int32_t x, std::int32_t y, int pixelBytes,
               ImageView block);

/// Sets to 0 every pixel but those in columns x + 1 to x + width - 1 and in rows y + 1 to
/// y + height - 1 counted from the top of the picture. Any arguments; bytes behind each row stay.
void BlackenOutside(ImageView image, int pixelBytes, std::int32_t x, std::int32_t y,
                    std::int32_t width, std::int32_t height);

}  // namespace rastelo
