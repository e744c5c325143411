#include "tools/screen.h"

#include <algorithm>

#include "pixels/pixel_store.h"

namespace rastelo::tools {

CRastelo PictureOf(const MemoryDeviceContext& screen) {
  const PixelStore store = PixelStore::Zeroed(screen.Width(), screen.Height(), 24);
  for (int y = 0; y < screen.Height(); ++y) {
    std::uint8_t* to = store.Pixels().Row(screen.Height() - 1 - y);
    for (int x = 0; x < screen.Width(); ++x, to += 3) std::copy_n(screen.Pixel(x, y), 3, to);
  }
  CRastelo picture;
  picture.SetExternalImageBits(store.bits.get(), store.width, store.height, 24);
  return picture;
}

CRastelo ScalePicture(CRastelo& image, int width, int height) {
  MemoryDeviceContext screen(width, height);
  screen.SetStretchBltMode(HALFTONE);
  RECT all{0, 0, width, height};
  image.DrawImage(&screen, &all, true);
  return PictureOf(screen);
}

}  // namespace rastelo::tools
