#include "segment/threshold.h"

#include <memory>

#include "histogram/histogram.h"
#include "segment/graph_cut.h"
#include "segment/otsu.h"

namespace rastelo {

std::optional<int> FindThreshold(ConstImageView gray, ThresholdSearch search) {
  if (search == ThresholdSearch::kOtsu) return FindOtsuThreshold(CountLevels(gray), 0, 255);
  const auto tables = std::make_unique_for_overwrite<GraphCutTables>();
  const int level = FindGraphCutThreshold(gray, *tables);
  return level == 0 ? std::nullopt : std::optional(level);
}

}  // namespace rastelo
