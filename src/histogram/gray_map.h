#pragma once

#include <array>

#include "histogram/histogram.h"
#include "pixels/image_view.h"

namespace rastelo {

/// Entry i is the new value of a byte that holds i.
using GrayMap = std::array<std::uint8_t, 256>;

/// Plain cumulative equalisation: map(i) = trunc(255 * C(i) / N), with C(i) the number of pixels
/// at level i and below and N the number of all. Needs a pixel.
GrayMap MakeCumulativeMap(LevelCounts counts);

/// Equalises the levels `first` to `last` within their own range, and lifts every level but the
/// spikes:
///     map(i) = low byte of trunc(D * C(i) / T) + first + lift(i),  D = last - first,
/// with C(i) the pixels from `first` to i and T those from `first` to `last`. A level is a spike if
/// its count is above trunc(M + 2 * S), M being trunc(T / D) and S the root of the mean square
/// distance from M, over D, of the counts from `first` to `last` - 1. Others are lifted by
///     lift(i) = trunc(counts(i) * K / T),  K = trunc(D * A / T),
/// with A the pixels at levels of more than M pixels among the same. Sums and roots are in double
/// precision, levels ascending; nothing keeps the result below 256.
///
/// Writes the entries `first` to `last`; of a range without pixels or with equal bounds only
/// map(first) = first. Needs 0 <= first <= last <= 255.
void FillSegmentMap(LevelCounts counts, int first, int last, std::span<std::uint8_t, 256> map);

/// FillSegmentMap from each bound to the next one, ascending. Needs at least two.
GrayMap MakeSegmentMap(LevelCounts counts, std::span<const int> bounds);

/// FillSegmentMap of all levels with all 256 of them in M, S and A: M is trunc(N / 256). S still
/// divides by 255. Needs a pixel.
GrayMap MakeLiftedMap(LevelCounts counts);

/// Replaces each pixel of an 8-bit image by its entry. Bytes behind each row stay.
void ApplyMap(ImageView gray, const GrayMap& map);

/// The same for a 24-bit image, with a map for each plane: blue, green, red.
void ApplyPlaneMaps(ImageView bgr, const std::array<GrayMap, 3>& maps);

}  // namespace rastelo
