#include "plain/image.h"

namespace plain {

using namespace rastelo;

void ReduceToKeyColour(ImageView bgr) {
  for (std::int32_t y = 0; y < bgr.height; ++y) {
    std::uint8_t* pixel = bgr.Row(y);
    for (std::int32_t x = 0; x < bgr.width; ++x, pixel += 3) {
      if (pixel[0] == 255 && pixel[1] == 0 && pixel[2] == 255) continue;
      pixel[0] = 70;
      pixel[1] = 51;
      pixel[2] = 41;
    }
  }
}

}  // namespace plain
