#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "pixels/image_view.h"

namespace rastelo::samples {

/// A finished picture of 8 or 24 bits a pixel, laid out as the library takes it.
struct Picture {
  Picture(int pictureWidth, int pictureHeight, int pictureBits)
      : width(pictureWidth),
        height(pictureHeight),
        bitCount(pictureBits),
        pitch(static_cast<std::int32_t>(Pitch(width, bitCount))),
        bits(std::size_t(pitch) * std::size_t(height)) {}

  ImageView Pixels() { return {bits.data(), width, height, pitch}; }
  /// The bytes of the pixel in a column and a row counted from the top.
  std::uint8_t* At(int column, int row) {
    return Pixels().Row(height - 1 - row) + std::ptrdiff_t{column} * (bitCount / 8);
  }
  void SetColour(int column, int row, std::array<std::uint8_t, 3> bgr) {
    std::uint8_t* pixel = At(column, row);
    for (std::size_t channel = 0; channel < 3; ++channel) pixel[channel] = bgr[channel];
  }

  std::int32_t width, height;
  int bitCount;
  std::int32_t pitch;
  std::vector<std::uint8_t> bits;
};

/// A lake in the evening sun, 641 x 427 in colour: fine detail beside smooth haze.
Picture PaintScene();

/// A printed page, 600 x 450 gray, in a light that differs from column to column.
Picture PaintPage();

/// Bright and dark cells under a microscope, 512 x 400 gray, on an uneven ground.
Picture PaintCells();

/// A sailing boat, 160 x 120 in colour with hard edges, on the colour blue 255, green 0, red 255.
Picture PaintSprite();

}  // namespace rastelo::samples
