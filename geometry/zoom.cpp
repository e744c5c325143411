#include "geometry/zoom.h"

#include <algorithm>

#include "geometry/gray.h"

namespace rastelo {
namespace {

/// Where a target column or row falls on the source: on `pixel`, or between it and `next`.
struct Sample {
  std::int32_t pixel, next;
  float pixelWeight, nextWeight;
};

Sample Place(std::int32_t target, float scale, std::int32_t sourceSide) {
  const float place = static_cast<float>(target) * scale;
  const auto whole = static_cast<std::int64_t>(place);
  const float part = place - static_cast<float>(whole);
  // Single precision may carry the last places of a very long side beyond it.
  const auto pixel = static_cast<std::int32_t>(std::min<std::int64_t>(whole, sourceSide - 1));
  const std::int32_t next = pixel == sourceSide - 1 ? std::max(pixel - 1, 0) : pixel + 1;
  return {pixel, next, 1.0f - part, part};
}

float Scale(std::int32_t sourceSide, std::int32_t targetSide) {
  return static_cast<float>(sourceSide) / static_cast<float>(targetSide);
}

/// Byte `c` of a target pixel, as source pixel `x` of `row` gives it.
template <int kSourceBytes, int kTargetBytes>
float Load(const std::uint8_t* row, std::int32_t x, int c) {
  const std::uint8_t* pixel = row + static_cast<std::ptrdiff_t>(x) * kSourceBytes;
  if constexpr (kSourceBytes == kTargetBytes) return pixel[c];
  if constexpr (kSourceBytes == 3 && kTargetBytes == 1)
    return GrayLevel(pixel[0], pixel[1], pixel[2]);
  return pixel[0];
}

template <int kSourceBytes, int kTargetBytes>
void ZoomPixels(ConstImageView source, ImageView target) {
  constexpr auto load = Load<kSourceBytes, kTargetBytes>;
  const float scaleX = Scale(source.width, target.width);
  const float scaleY = Scale(source.height, target.height);
  for (std::int32_t y = 0; y < target.height; ++y) {
    const Sample v = Place(y, scaleY, source.height);
    const std::uint8_t* pixelRow = source.Row(v.pixel);
    const std::uint8_t* nextRow = source.Row(v.next);
    std::uint8_t* to = target.Row(y);
    for (std::int32_t x = 0; x < target.width; ++x) {
      const Sample u = Place(x, scaleX, source.width);
      const float weightA = u.pixelWeight * v.pixelWeight, weightB = u.nextWeight * v.pixelWeight;
      const float weightC = u.pixelWeight * v.nextWeight, weightD = u.nextWeight * v.nextWeight;
      for (int c = 0; c < kTargetBytes; ++c) {
        float value = load(pixelRow, u.pixel, c) * weightA + load(pixelRow, u.next, c) * weightB;
        value = value + load(nextRow, u.pixel, c) * weightC;
        value = value + load(nextRow, u.next, c) * weightD;
        *to++ = static_cast<std::uint8_t>(value);
      }
    }
  }
}

}  // namespace

void ZoomBilinear(ConstImageView source, int sourceBytes, ImageView target, int targetBytes) {
  if (sourceBytes == 1) {
    targetBytes == 1 ? ZoomPixels<1, 1>(source, target) : ZoomPixels<1, 3>(source, target);
  } else {
    targetBytes == 1 ? ZoomPixels<3, 1>(source, target) : ZoomPixels<3, 3>(source, target);
  }
}

std::optional<std::int32_t> ZoomSide(std::int32_t side, double factor) {
  const double scaled = side * factor + 0.5;
  if (!(scaled > -1.0 && scaled < 2147483648.0)) return std::nullopt;
  return static_cast<std::int32_t>(scaled);
}

}  // namespace rastelo
