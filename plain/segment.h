#pragma once

#include <optional>

#include "histogram/histogram.h"
#include "pixels/image_view.h"
#include "segment/graph_cut.h"
#include "segment/threshold.h"

namespace plain {

void SumAffinities(rastelo::ConstImageView gray, rastelo::AffinityTable& affinity);
int FindGraphCutThreshold(const rastelo::AffinityTable& affinity);
std::optional<int> FindOtsuThreshold(rastelo::LevelCounts counts, int low, int high);
std::optional<int> FindThreshold(rastelo::ConstImageView gray, rastelo::ThresholdSearch search);
std::array<std::int32_t, 256> SumContrasts(rastelo::ConstImageView gray, std::int32_t radius);
/// The whole operations.
void SegmentOtsu(rastelo::ImageView gray);
void SegmentContrasts(rastelo::ImageView gray, std::int32_t radius);

}  // namespace plain
