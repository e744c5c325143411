#ifndef RASTELO_FILTER_INVERT_H
#define RASTELO_FILTER_INVERT_H

#include "pixels/image_view.h"

namespace rastelo {

/// Replaces each of the first W bytes of a row by 255 minus itself.
void InvertBytes(ImageView image);

}  // namespace rastelo

#endif  // RASTELO_FILTER_INVERT_H
