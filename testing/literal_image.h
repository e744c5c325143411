#pragma once

#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <vector>

#include "pixels/image_view.h"

using Bytes = std::vector<std::uint8_t>;

/// An image typed in as it lies in memory, row 0 first: bytes, so that a 24-bit row has three an
/// entry. The bytes behind each row hold 0xEE and count in ==, so that any test notices a function
/// that strays. Prints a line a row, of a large image its size alone.
struct LiteralImage {
  LiteralImage(std::initializer_list<Bytes> rows, int pixelBytes = 1);
  /// All pixel bytes 0.
  LiteralImage(std::int32_t width, std::int32_t height, int pixelBytes);
  rastelo::ImageView Pixels() { return {bytes.data(), width, height, pitch}; }
  rastelo::ConstImageView Pixels() const { return {bytes.data(), width, height, pitch}; }
  int BitCount() const { return pixelBytes * 8; }
  int Count() const { return width * height; }
  /// Byte `x` of row `y`; byte `i` where the first `width` bytes of each row are counted.
  std::uint8_t& At(std::int64_t x, std::int64_t y) { return bytes[std::size_t(pitch * y + x)]; }
  std::uint8_t& At(int i) { return At(i % width, i / width); }
  bool operator==(const LiteralImage&) const = default;

  int pixelBytes = 1;
  std::int32_t width = 0, height = 0, pitch = 0;
  Bytes bytes;
};
std::ostream& operator<<(std::ostream& stream, const LiteralImage& image);

/// The image with 0 behind each row, as one in new memory has it.
LiteralImage ZeroTails(LiteralImage image);

/// The same pixels for the same size: every byte value, in no order.
LiteralImage Noise(std::int32_t width, std::int32_t height, int pixelBytes = 1);
