#ifndef RASTELO_BENCH_PLAIN_SEGMENT_H
#define RASTELO_BENCH_PLAIN_SEGMENT_H

#include "image/image_view.h"
#include "segment/graph_cut.h"

namespace plain {

void SumAffinities(rastelo::ConstImageView gray, rastelo::AffinityTable& affinity);
std::array<std::int32_t, 256> SumContrasts(rastelo::ConstImageView gray, std::int32_t radius);

}  // namespace plain

#endif  // RASTELO_BENCH_PLAIN_SEGMENT_H
