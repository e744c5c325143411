#include "geometry/block.h"

#include <algorithm>
#include <cstring>

namespace rastelo {
namespace {

struct Range {
  std::int32_t first, end;  // [first, end), not reversed
  std::size_t Bytes(int pixelBytes) const {
    return static_cast<std::size_t>(end - first) * static_cast<std::size_t>(pixelBytes);
  }
};

/// The part of [first, end) within [0, limit).
Range Clip(std::int64_t first, std::int64_t end, std::int32_t limit) {
  const auto from = static_cast<std::int32_t>(std::clamp<std::int64_t>(first, 0, limit));
  return {from, static_cast<std::int32_t>(std::clamp<std::int64_t>(end, from, limit))};
}

}  // namespace

void CopyBlock(ConstImageView image, std::int32_t x, std::int32_t y, int pixelBytes,
               ImageView block) {
  const Range rows = Clip(y, std::int64_t{y} + block.height, image.height);
  const Range columns = Clip(x, std::int64_t{x} + block.width, image.width);
  if (columns.first == columns.end) return;
  for (std::int32_t row = rows.first; row < rows.end; ++row) {
    const std::uint8_t* from = image.Row(row) + std::ptrdiff_t{columns.first} * pixelBytes;
    std::uint8_t* to = block.Row(row - y) + (std::ptrdiff_t{columns.first} - x) * pixelBytes;
    std::memcpy(to, from, columns.Bytes(pixelBytes));
  }
}

void BlackenOutside(ImageView image, int pixelBytes, std::int32_t x, std::int32_t y,
                    std::int32_t width, std::int32_t height) {
  const Range kept = Clip(std::int64_t{x} + 1, std::int64_t{x} + width, image.width);
  const Range keptRows = Clip(std::int64_t{y} + 1, std::int64_t{y} + height, image.height);
  const Range all{0, image.width};
  for (std::int32_t fromTop = 0; fromTop < image.height; ++fromTop) {
    std::uint8_t* row = image.Row(image.height - 1 - fromTop);
    if (fromTop < keptRows.first || fromTop >= keptRows.end) {
      std::memset(row, 0, all.Bytes(pixelBytes));
      continue;
    }
    std::memset(row, 0, Range{0, kept.first}.Bytes(pixelBytes));
    std::memset(row + std::ptrdiff_t{kept.end} * pixelBytes, 0,
                Range{kept.end, image.width}.Bytes(pixelBytes));
  }
}

}  // namespace rastelo
