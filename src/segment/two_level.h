#ifndef RASTELO_SEGMENT_TWO_LEVEL_H
#define RASTELO_SEGMENT_TWO_LEVEL_H

#include "histogram/histogram.h"
#include "pixels/image_view.h"

namespace rastelo {

/// Sets to 0 each of the first W bytes of a row that is below `threshold`.
void ClearBelow(ImageView image, std::uint8_t threshold);

/// What that does to the levels' counts. @return whether a pixel changes.
bool ClearBelow(Histogram& counts, std::uint8_t threshold);

/// Sets each of the first W bytes of a row to 0 if it is below `threshold`, else to 255.
void SplitAt(ImageView image, std::uint8_t threshold);

}  // namespace rastelo

#endif  // RASTELO_SEGMENT_TWO_LEVEL_H
