#include "plain/geometry.h"

#include <algorithm>
#include <cstddef>

namespace plain {

using namespace rastelo;

void BgrToGray(ConstImageView bgr, ImageView gray) {
  for (std::int32_t y = 0; y < bgr.height; ++y) {
    for (std::int32_t x = 0; x < bgr.width; ++x) {
      const std::uint8_t* pixel = bgr.Row(y) + std::ptrdiff_t{3} * x;
      const double sum = pixel[1] * 0.587 + pixel[0] * 0.114;
      gray.Row(y)[x] = static_cast<std::uint8_t>(sum + pixel[2] * 0.299);
    }
  }
}

void RotateQuarter(ConstImageView source, int pixelBytes, QuarterTurn turn, ImageView target) {
  for (std::int32_t i = 0; i < target.height; ++i) {
    for (std::int32_t j = 0; j < target.width; ++j) {
      const bool counter = turn == QuarterTurn::kCounterClockwise;
      const std::ptrdiff_t column = counter ? i : source.width - 1 - i;
      const std::uint8_t* from =
          source.Row(counter ? source.height - 1 - j : j) + column * pixelBytes;
      std::copy_n(from, pixelBytes, target.Row(i) + std::ptrdiff_t{j} * pixelBytes);
    }
  }
}

void ZoomBilinear(ConstImageView source, ImageView target, int pixelBytes) {
  const float scaleX = static_cast<float>(source.width) / static_cast<float>(target.width);
  const float scaleY = static_cast<float>(source.height) / static_cast<float>(target.height);
  for (std::int32_t y = 0; y < target.height; ++y) {
    for (std::int32_t x = 0; x < target.width; ++x) {
      const float tx = static_cast<float>(x) * scaleX, ty = static_cast<float>(y) * scaleY;
      const int sx = static_cast<int>(tx), sy = static_cast<int>(ty);
      const int nx = sx + 1 < source.width ? sx + 1 : std::max(sx - 1, 0);
      const int ny = sy + 1 < source.height ? sy + 1 : std::max(sy - 1, 0);
      const float fx = tx - static_cast<float>(sx), fy = ty - static_cast<float>(sy);
      const float gx = 1 - fx, gy = 1 - fy;
      for (int c = 0; c < pixelBytes; ++c) {
        const auto at = [&](int u, int v) { return source.Row(v)[u * pixelBytes + c]; };
        float value = at(sx, sy) * (gx * gy) + at(nx, sy) * (gy * fx);
        value = value + at(sx, ny) * (gx * fy);
        value = value + at(nx, ny) * (fy * fx);
        target.Row(y)[x * pixelBytes + c] = static_cast<std::uint8_t>(value);
      }
    }
  }
}

void ShrinkByArea(ConstImageView source, int pixelBytes, ImageView target) {
  const std::int64_t w = source.width, h = source.height, area = w * h;
  /// The length that unit `i` of `from` and unit `o` of `to`, of a whole of both, have in common.
  const auto overlap = [](std::int64_t i, std::int64_t o, std::int64_t from, std::int64_t to) {
    return std::max<std::int64_t>(
        std::min((i + 1) * to, (o + 1) * from) - std::max(i * to, o * from), 0);
  };
  for (std::int32_t v = 0; v < target.height; ++v) {
    for (std::int32_t u = 0; u < target.width; ++u) {
      const std::int64_t left = u * w / target.width, bottom = v * h / target.height;
      for (int c = 0; c < pixelBytes; ++c) {
        std::int64_t sum = 0;
        for (std::int64_t y = bottom; overlap(y, v, h, target.height) > 0; ++y)
          for (std::int64_t x = left; overlap(x, u, w, target.width) > 0; ++x)
            sum += overlap(x, u, w, target.width) * overlap(y, v, h, target.height) *
                   source.Row(static_cast<std::int32_t>(y))[x * pixelBytes + c];
        target.Row(v)[u * pixelBytes + c] =
            static_cast<std::uint8_t>((2 * sum + area) / (2 * area));
      }
    }
  }
}

}  // namespace plain
