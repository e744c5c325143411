#pragma once

#include "pixels/image_view.h"

namespace rastelo {

/// Pushes the pixels of an 8-bit image apart: those below `threshold` to 0 if `clearLow`, the
/// others to 255 if `raiseHigh`.
void PushLevels(ImageView gray, int threshold, bool clearLow, bool raiseHigh);

}  // namespace rastelo
