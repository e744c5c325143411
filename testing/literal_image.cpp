#include "testing/literal_image.h"

#include <algorithm>
#include <random>

LiteralImage::LiteralImage(std::int32_t w, std::int32_t h, int perPixel)
    : pixelBytes(perPixel),
      width(w),
      height(h),
      pitch(std::int32_t(rastelo::Pitch(w, 8 * perPixel))),
      bytes(std::size_t(pitch) * std::size_t(h), 0xEE) {
  for (std::int32_t y = 0; y < h; ++y) std::fill_n(Pixels().Row(y), w * perPixel, std::uint8_t{0});
}

LiteralImage::LiteralImage(std::initializer_list<Bytes> rows, int perPixel)
    : LiteralImage(rows.size() == 0 ? 0 : std::int32_t(rows.begin()->size()) / perPixel,
                   std::int32_t(rows.size()), perPixel) {
  std::int32_t y = 0;
  for (const auto& row : rows) std::copy(row.begin(), row.end(), Pixels().Row(y++));
}

LiteralImage Noise(std::int32_t width, std::int32_t height, int pixelBytes) {
  LiteralImage image(width, height, pixelBytes);
  std::mt19937 random(unsigned(width * 131 + height * 7 + pixelBytes));
  for (std::int32_t y = 0; y < height; ++y)
    for (std::int32_t x = 0; x < width * pixelBytes; ++x)
      image.At(x, y) = std::uint8_t(random() >> 11);
  return image;
}

LiteralImage ZeroTails(LiteralImage image) {
  for (std::size_t i = 0; i < image.bytes.size(); ++i)
    if (int(i) % image.pitch >= image.width * image.pixelBytes) image.bytes[i] = 0;
  return image;
}

std::ostream& operator<<(std::ostream& stream, const LiteralImage& image) {
  stream << image.width << " x " << image.height << ", rows from the bottom, tails behind |";
  for (std::size_t i = 0; image.bytes.size() < 4096 && i < image.bytes.size(); ++i) {
    const std::size_t column = i % std::size_t(image.pitch);
    if (column == 0) stream << '\n';
    if (column == std::size_t(image.width * image.pixelBytes)) stream << "| ";
    stream << int{image.bytes[i]} << ' ';
  }
  return stream;
}
