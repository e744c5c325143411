#ifndef VIEWER_HISTOGRAM_CORNER_H
#define VIEWER_HISTOGRAM_CORNER_H

#include <rastelo.h>

/// Draws how many pixels show each level in the lower right corner of `area`: white for a gray
/// picture, each colour in its own for a 24-bit one.
void DrawHistogramCorner(HDC hdc, const RECT& area, CRastelo& image);

#endif  // VIEWER_HISTOGRAM_CORNER_H
