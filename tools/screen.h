#pragma once

#include "rastelo.h"

namespace rastelo::tools {

/// What a device shows, as a picture of 24 bits a pixel.
CRastelo PictureOf(const MemoryDeviceContext& screen);

/// A picture scaled to `width` x `height` pixels, 24 bits each; every pixel is the average of those
/// that fall on it.
CRastelo ScalePicture(CRastelo& image, int width, int height);

}  // namespace rastelo::tools
