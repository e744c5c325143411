#include "geometry/block.h"

#include <cstring>

#include "pixels/interval.h"

namespace rastelo {

void CopyBlock(ConstImageView image, std::int32_t x, std::int32_t y, int pixelBytes,
               ImageView block) {
  const Interval rows = Clip({y, std::int64_t{y} + block.height}, {0, image.height});
  const Interval columns = Clip({x, std::int64_t{x} + block.width}, {0, image.width});
  if (columns.IsEmpty()) return;
  const auto bytes = static_cast<std::size_t>(columns.Length() * pixelBytes);
  for (auto row = static_cast<std::int32_t>(rows.first); row < rows.end; ++row)
    std::memcpy(block.Row(row - y) + (columns.first - x) * pixelBytes,
                image.Row(row) + columns.first * pixelBytes, bytes);
}

void BlackenOutside(ImageView image, int pixelBytes, std::int32_t x, std::int32_t y,
                    std::int32_t width, std::int32_t height) {
  const Interval columns = Clip({std::int64_t{x} + 1, std::int64_t{x} + width}, {0, image.width});
  const Interval rows = Clip({std::int64_t{y} + 1, std::int64_t{y} + height}, {0, image.height});
  const auto blacken = [=](std::int32_t fromTop, Interval outside) {
    std::memset(image.Row(image.height - 1 - fromTop) + outside.first * pixelBytes, 0,
                static_cast<std::size_t>(outside.Length() * pixelBytes));
  };
  for (std::int32_t fromTop = 0; fromTop < image.height; ++fromTop) {
    const bool isInside = fromTop >= rows.first && fromTop < rows.end;
    blacken(fromTop, {0, isInside ? columns.first : image.width});
    if (isInside) blacken(fromTop, {columns.end, image.width});
  }
}

}  // namespace rastelo
