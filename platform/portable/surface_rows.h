#ifndef RASTELO_PLATFORM_PORTABLE_SURFACE_ROWS_H
#define RASTELO_PLATFORM_PORTABLE_SURFACE_ROWS_H

#include <cstddef>
#include <cstdint>

namespace rastelo {

/// Writes `count` pixels of 4 bytes, blue, green, red and 0, from as many of 3.
void WidenPixels(const std::uint8_t* bgr, std::ptrdiff_t count, std::uint8_t* surface);

}  // namespace rastelo

#endif  // RASTELO_PLATFORM_PORTABLE_SURFACE_ROWS_H
