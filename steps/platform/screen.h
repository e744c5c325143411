#pragma once

#include <memory>

#include "pixels/pixel_store.h"
#include "rastelo.h"

namespace rastelo::steps::platform {

/// A device in memory for the library to draw on, black at first.
class Screen {
 public:
  /// `width` x `height` pixels, both at least 1. Throws std::bad_alloc.
  Screen(int width, int height);
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  HDC Handle() const;
  int Width() const { return width_; }
  int Height() const { return height_; }
  /// Chooses how later draws stretch: COLORONCOLOR, HALFTONE, ...
  void SetStretchMode(int mode);
  /// What has been drawn so far, in 24 bits a pixel. Throws std::bad_alloc.
  PixelStore CopyPixels() const;

 private:
  struct Device;
  /// Pixels of 4 bytes, blue, green, red, unused, top row first.
  const std::uint8_t* Surface() const;

  int width_, height_;
  std::unique_ptr<Device> device_;
};

}  // namespace rastelo::steps::platform
