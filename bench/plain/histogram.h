#ifndef RASTELO_BENCH_PLAIN_HISTOGRAM_H
#define RASTELO_BENCH_PLAIN_HISTOGRAM_H

#include "histogram/class_pair.h"

namespace plain {

std::optional<rastelo::ThresholdPair> FindClassPair(rastelo::LevelCounts counts);

}  // namespace plain

#endif  // RASTELO_BENCH_PLAIN_HISTOGRAM_H
