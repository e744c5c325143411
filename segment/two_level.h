#ifndef RASTELO_SEGMENT_TWO_LEVEL_H
#define RASTELO_SEGMENT_TWO_LEVEL_H

#include "image/image_view.h"

namespace rastelo {

/// Sets to 0 each of the first W bytes of a row that is below `threshold`.
void ClearBelow(ImageView image, int threshold);

/// Sets each of the first W bytes of a row to 0 if it is below `threshold`, else to 255.
void SplitAt(ImageView image, int threshold);

}  // namespace rastelo

#endif  // RASTELO_SEGMENT_TWO_LEVEL_H
