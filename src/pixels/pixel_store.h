#pragma once

#include <memory>

#include "pixels/image_view.h"

namespace rastelo {

/// Pixels in memory that its owners share. A copy of the record shares them.
struct PixelStore {
  /// `width` x `height` pixels of `bitCount` bits, none negative, all bytes 0. Throws
  /// std::bad_alloc where there is no such memory, as all that make pixels do.
  static PixelStore Zeroed(std::int32_t width, std::int32_t height, int bitCount);
  /// The same with bytes of any value, to be written before they are shown.
  static PixelStore ForOverwrite(std::int32_t width, std::int32_t height, int bitCount);

  /// The same pixels in memory of their own.
  PixelStore Copy() const;

  std::size_t Bytes() const { return std::size_t(pitch) * std::size_t(height); }
  ImageView Pixels() const { return {bits.get(), width, height, pitch}; }

  std::shared_ptr<std::uint8_t[]> bits;
  std::int32_t width = 0, height = 0, pitch = 0;
  int bitCount = 0;
};

}  // namespace rastelo
