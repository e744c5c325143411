#pragma once

#include "steps/pictures/picture.h"

namespace rastelo::steps {

/// Why bytes that are in none of the four formats cannot be read, with what they are if they show
/// it: "it is a WebP picture, which is not read; save it as JPEG, PNG, TIFF or BMP first".
PictureError NoReadableContent(std::span<const std::uint8_t> bytes);

}  // namespace rastelo::steps
