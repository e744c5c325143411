#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace rastelo {

/// Pixels that somebody else owns. Row 0 is the bottom row of the picture unless a function says
/// otherwise. How many bytes a pixel has is told apart from the view.
template <class Byte>
struct View {
  Byte* bits = nullptr;                // start of row 0
  std::int32_t width = 0, height = 0;  // pixels in a row, rows
  std::int32_t pitch = 0;              // bytes from the start of one row to the next

  Byte* Row(std::int32_t y) const { return bits + std::ptrdiff_t{pitch} * y; }
  operator View<const Byte>() const { return {bits, width, height, pitch}; }
};
using ImageView = View<std::uint8_t>;
using ConstImageView = View<const std::uint8_t>;

/// Flips an image upside down in place: row y and row H - 1 - y change places, all `pitch` bytes
/// of them. Cannot fail.
inline void ReverseRows(ImageView image) {
  for (std::int32_t y = 0; y < image.height / 2; ++y)
    std::swap_ranges(image.Row(y), image.Row(y) + image.pitch, image.Row(image.height - 1 - y));
}

/// Bytes from one row to the next: ((bits * width + 31) / 32) * 4.
constexpr std::int64_t Pitch(std::int64_t width, std::int64_t bits) {
  return (bits * width + 31) / 32 * 4;
}

/// Whether `width` x `height` pixels of `bits` bits are a buffer of 0 to 2^31 - 1 bytes.
constexpr bool FitsBuffer(std::int32_t width, std::int32_t height, int bits) {
  if (width < 0 || height < 0 || bits < 0) return false;
  const std::int64_t pitch = Pitch(width, bits);
  return pitch <= INT32_MAX && pitch * height <= INT32_MAX;
}

/// Whether the operations know pixels of this depth: 8 bits gray, 24 bits blue, green, red.
constexpr bool IsKnownDepth(int bits) { return bits == 8 || bits == 24; }

}  // namespace rastelo
