#ifndef RASTELO_PLATFORM_PORTABLE_SURFACE_ROWS_H
#define RASTELO_PLATFORM_PORTABLE_SURFACE_ROWS_H

#include <cstddef>
#include <cstdint>

#include "image/image_view.h"

namespace rastelo {

/// Widens pixels of 3 bytes to 4, the last of them 0. The rows lie `pitch` bytes apart on the
/// surface, which may be less than 0; pixels of it lie at multiples of 4.
void WidenPixels(ConstImageView bgr, std::uint8_t* surface, std::ptrdiff_t pitch);

}  // namespace rastelo

#endif  // RASTELO_PLATFORM_PORTABLE_SURFACE_ROWS_H
