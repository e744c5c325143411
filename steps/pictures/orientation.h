#pragma once

#include "steps/pictures/picture.h"

namespace rastelo::steps {

/// Turns a picture upright, its resolution along with it, and says in `stored` that it was not.
/// @param orientation  As EXIF and TIFF count them: 1 upright, 2 mirrored, 3 upside down, 4 both of
/// these, 5 mirrored and a quarter turn off, 6 to be turned clockwise, 7 5 upside down, 8 to be
/// turned counter-clockwise. Any other number counts as 1.
void TurnUpright(Picture& picture, int orientation);

}  // namespace rastelo::steps
