#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace rastelo::samples {

/// A number that looks random and is always the same for the same arguments.
inline std::uint32_t HashCell(std::int32_t x, std::int32_t y, std::uint32_t seed) {
  std::uint32_t hash = static_cast<std::uint32_t>(x) * 0x9E3779B1u;
  hash = (hash ^ (hash >> 16)) + static_cast<std::uint32_t>(y) * 0x6A5D39E5u;
  hash = (hash ^ (hash >> 15)) * 0x7A3D9F4Bu + seed * 0x51ED270Bu;
  hash = (hash ^ (hash >> 13)) * 0x5D8C21E7u;
  return hash ^ (hash >> 16);
}

/// Numbers that look random, always the same row of them for the same seed.
class Dice {
 public:
  explicit Dice(std::uint32_t seed) : seed_(seed) {}
  /// The next number, low <= number < high.
  float Roll(float low, float high) {
    const auto hash = static_cast<float>(HashCell(rolls_++, 0, seed_) >> 8);
    return low + (high - low) * (hash / 16777216.0f);
  }
  float Roll() { return Roll(0, 1); }

 private:
  std::uint32_t seed_;
  std::int32_t rolls_ = 0;
};

/// 0 below `low`, 1 above `high`, a smooth step between. `high` may lie below `low`.
inline float SmoothStep(float low, float high, float value) {
  const float t = std::clamp((value - low) / (high - low), 0.0f, 1.0f);
  return t * t * (3 - 2 * t);
}

inline float MixLevels(float a, float b, float t) { return a + (b - a) * t; }

/// Smooth noise about 1 unit wide, roughly -1..1 with mean 0.
inline float SampleNoise(float x, float y, std::uint32_t seed) {
  const float left = std::floor(x), top = std::floor(y);
  const auto column = static_cast<std::int32_t>(left), row = static_cast<std::int32_t>(top);
  const float u = x - left, v = y - top;
  const auto slope = [&](std::int32_t dx, std::int32_t dy) {  // a random slope through each corner
    const std::uint32_t hash = HashCell(column + dx, row + dy, seed);
    const float slopeX = static_cast<float>(hash & 0xFFFF) / 32767.5f - 1;
    const float slopeY = static_cast<float>(hash >> 16) / 32767.5f - 1;
    return slopeX * (u - static_cast<float>(dx)) + slopeY * (v - static_cast<float>(dy));
  };
  const float s = u * u * u * (u * (u * 6 - 15) + 10), t = v * v * v * (v * (v * 6 - 15) + 10);
  const float above = MixLevels(slope(0, 0), slope(1, 0), s);
  const float below = MixLevels(slope(0, 1), slope(1, 1), s);
  return 1.7f * MixLevels(above, below, t);
}

/// Layers of noise, each twice as fine and half as strong as the one before.
inline float SampleFractal(float x, float y, int layers, std::uint32_t seed) {
  float sum = 0, strength = 0.6f;
  for (int layer = 0; layer < layers; ++layer) {
    sum += strength * SampleNoise(x, y, seed + static_cast<std::uint32_t>(layer));
    x = 2 * x + 17.3f;
    y = 2 * y + 41.7f;
    strength /= 2;
  }
  return sum;
}

}  // namespace rastelo::samples
