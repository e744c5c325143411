#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "samples/pictures.h"

namespace rastelo::samples {

/// Red, green, blue, each 0..255 on the finished picture.
struct Colour {
  float red = 0, green = 0, blue = 0;

  Colour operator+(Colour other) const {
    return {red + other.red, green + other.green, blue + other.blue};
  }
  Colour operator*(float factor) const { return {red * factor, green * factor, blue * factor}; }
};

inline Colour MixColours(Colour a, Colour b, float t) { return a * (1 - t) + b * t; }

/// A place on a picture, in pixels from its upper left corner.
struct Point {
  float x = 0, y = 0;
};

/// Part of a picture, in pixels from its upper left corner.
struct Box {
  float left, top, right, bottom;
};

/// A picture in the making: each pixel is painted as several samples and averaged in the end, so
/// that edges come out soft.
template <class Texel>
class Canvas {
 public:
  Canvas(int width, int height, int samplesPerSide)
      : width_(width),
        height_(height),
        samples_(samplesPerSide),
        texels_(std::size_t(width) * std::size_t(height) * std::size_t(samples_ * samples_)) {}

  int Width() const { return width_; }
  int Height() const { return height_; }
  Box All() const { return {0, 0, static_cast<float>(width_), static_cast<float>(height_)}; }

  /// Calls `shade(x, y, texel)` for every sample in the box; x and y are its place in pixels.
  template <class Shade>
  void Paint(const Box& box, Shade shade) {
    const int left = FindSample(box.left, width_), right = FindSample(box.right, width_);
    const int top = FindSample(box.top, height_), bottom = FindSample(box.bottom, height_);
    const auto scale = static_cast<float>(samples_);
    for (int y = top; y < bottom; ++y) {
      for (int x = left; x < right; ++x) {
        shade((static_cast<float>(x) + 0.5f) / scale, (static_cast<float>(y) + 0.5f) / scale,
              At(x, y));
      }
    }
  }

  /// The sample at a place; beyond the border, the nearest one.
  Texel Look(Point place) const {
    return texels_[Index(std::min(FindSample(place.x, width_), width_ * samples_ - 1),
                         std::min(FindSample(place.y, height_), height_ * samples_ - 1))];
  }

  /// The mean of the samples of the pixel in a column and a row counted from the top.
  Texel Average(int column, int row) const {
    Texel sum{};
    for (int y = 0; y < samples_; ++y) {
      for (int x = 0; x < samples_; ++x) {
        sum = sum + texels_[Index(column * samples_ + x, row * samples_ + y)];
      }
    }
    return sum * (1.0f / static_cast<float>(samples_ * samples_));
  }

 private:
  int FindSample(float place, int pixels) const {
    const float inside = std::clamp(place, 0.0f, static_cast<float>(pixels));
    return static_cast<int>(inside * static_cast<float>(samples_));
  }
  std::size_t Index(int x, int y) const {
    return std::size_t(y) * std::size_t(width_ * samples_) + std::size_t(x);
  }
  Texel& At(int x, int y) { return texels_[Index(x, y)]; }

  int width_, height_, samples_;
  std::vector<Texel> texels_;
};

inline std::uint8_t RoundLevel(float level) {
  return static_cast<std::uint8_t>(std::clamp(level, 0.0f, 255.0f) + 0.5f);
}

/// The picture that a canvas shows: 24 bits for colours, 8 bits for gray levels.
inline Picture FinishPicture(const Canvas<Colour>& canvas) {
  Picture picture(canvas.Width(), canvas.Height(), 24);
  for (int y = 0; y < canvas.Height(); ++y) {
    for (int x = 0; x < canvas.Width(); ++x) {
      const Colour colour = canvas.Average(x, y);
      picture.SetColour(
          x, y, {RoundLevel(colour.blue), RoundLevel(colour.green), RoundLevel(colour.red)});
    }
  }
  return picture;
}

inline Picture FinishPicture(const Canvas<float>& canvas) {
  Picture picture(canvas.Width(), canvas.Height(), 8);
  for (int y = 0; y < canvas.Height(); ++y) {
    for (int x = 0; x < canvas.Width(); ++x) {
      picture.At(x, y)[0] = RoundLevel(canvas.Average(x, y));
    }
  }
  return picture;
}

}  // namespace rastelo::samples
