// Pixel filters.
#include "filter/invert.h"
#include "rastelo.h"

void CRastelo::InverseGray() { rastelo::InvertBytes(RowBytes()); }
