#pragma once

#include "pixels/image_view.h"

namespace rastelo {

/// Replaces each of the first W bytes of a row by 255 minus itself.
void InvertBytes(ImageView image);

}  // namespace rastelo
