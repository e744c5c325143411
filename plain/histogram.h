#pragma once

#include "histogram/class_pair.h"
#include "histogram/gray_map.h"

namespace plain {

rastelo::Histogram CountLevels(rastelo::ConstImageView gray);
std::array<rastelo::Histogram, 3> CountPlaneLevels(rastelo::ConstImageView bgr);
int MeanLevel(rastelo::ConstImageView gray);
void ApplyMap(rastelo::ImageView gray, const rastelo::GrayMap& map);
void ApplyPlaneMaps(rastelo::ImageView bgr, const std::array<rastelo::GrayMap, 3>& maps);
std::optional<rastelo::ThresholdPair> FindClassPair(rastelo::LevelCounts counts);

}  // namespace plain
