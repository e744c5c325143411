#pragma once

#include <span>

#include "steps/step.h"

namespace rastelo::steps {

// The tables that make up Steps(). One entry in one of them adds a step.
std::span<const Step> PictureSteps();
std::span<const Step> GeometrySteps();
std::span<const Step> HistogramSteps();
std::span<const Step> SegmentSteps();
std::span<const Step> FilterSteps();
std::span<const Step> FrequencySteps();

}  // namespace rastelo::steps
