#pragma once

#include <algorithm>
#include <cstdint>

namespace rastelo {

/// Where a target column or row falls on the source: on `pixel`, or between it and `next`.
struct Sample {
  std::int32_t pixel, next;
  float pixelWeight, nextWeight;
};

inline Sample Place(std::int32_t target, float scale, std::int32_t sourceSide) {
  const float place = static_cast<float>(target) * scale;
  const auto whole = static_cast<std::int64_t>(place);
  const float fraction = place - static_cast<float>(whole);
  // Single precision may carry the last places of a very long side beyond it.
  const auto pixel = static_cast<std::int32_t>(std::min<std::int64_t>(whole, sourceSide - 1));
  const std::int32_t next = pixel == sourceSide - 1 ? std::max(pixel - 1, 0) : pixel + 1;
  return {pixel, next, 1.0f - fraction, fraction};
}

}  // namespace rastelo
