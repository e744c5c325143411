#pragma once

#include <array>

#include "pixels/image_view.h"

namespace rastelo {

/// How strongly each level is joined to each other one: 256 x 256 sums, half a megabyte.
using AffinityTable = std::array<std::array<double, 256>, 256>;

/// Sums up, over all pixels of an 8-bit image and their up to 8 neighbours,
///     affinity[c][n] += exp(-((dx^2 + dy^2) / 4 + (n - c)^2 / 625)),
/// c being the level of the pixel and n that of its neighbour at (dx, dy): pixels row by row, the
/// neighbours of each row by row (weights after Shi and Malik 2000, gathered by level after Tao,
/// Jin and Liu 2007). What a level has to do with itself is then forgotten, but for level 255.
void SumAffinities(ConstImageView gray, AffinityTable& affinity);

/// The threshold with the smallest normalised cut, cut / (cut + B) + cut / (cut + A), between the
/// levels up to it and those from it on. A and B sum the affinities within either side, each pair
/// of levels once; both must be above 0. Sums run with levels ascending, the first level outside.
/// Needs affinities as SumAffinities makes them: 0 or above, and far from what a double can hold.
/// @return the lowest such level, 0 if there is none.
int FindGraphCutThreshold(const AffinityTable& affinity);

/// How often a level lies next to each other one.
using PairCounts = std::array<std::array<std::uint32_t, 256>, 256>;

/// What a search in an image works with: a megabyte, of any content.
struct GraphCutTables {
  AffinityTable affinity;
  PairCounts beside, diagonal;
};

/// The threshold that SumAffinities and the search above find. The affinities are estimated from
/// counts of pairs, and summed in order only where that leaves the threshold open.
int FindGraphCutThreshold(ConstImageView gray, GraphCutTables& tables);

}  // namespace rastelo
