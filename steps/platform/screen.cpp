#include "steps/platform/screen.h"

#include <algorithm>

namespace rastelo::steps::platform {

PixelStore Screen::CopyPixels() const {
  PixelStore store = PixelStore::Zeroed(width_, height_, 24);
  const std::uint8_t* from = Surface();
  for (int y = height_ - 1; y >= 0; --y) {
    std::uint8_t* to = store.Pixels().Row(y);
    for (int x = 0; x < width_; ++x, from += 4, to += 3) std::copy_n(from, 3, to);
  }
  return store;
}

}  // namespace rastelo::steps::platform
