#pragma once

#include <optional>

#include "pixels/image_view.h"

namespace rastelo {

/// How to look for the level that separates an image: by the largest variance between two classes
/// of levels (segment/otsu.h), or by the smallest normalised cut (segment/graph_cut.h).
enum class ThresholdSearch { kOtsu, kGraphCut };

/// The level that best separates the pixels of an 8-bit image: those below it, and those from it
/// on. PushLevels(gray, level, true, true) makes two levels of them.
/// @return 1 to 255, or nothing if no level separates the image, as where it has no pixels or all
/// show one level. The graph cut takes a megabyte of memory: throws std::bad_alloc.
std::optional<int> FindThreshold(ConstImageView gray, ThresholdSearch search);

}  // namespace rastelo
