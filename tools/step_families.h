#ifndef RASTELO_TOOLS_STEP_FAMILIES_H
#define RASTELO_TOOLS_STEP_FAMILIES_H

#include <span>

#include "tools/steps.h"

namespace rastelo::tools {

// The tables that make up Steps(). One entry in one of them adds a step.
std::span<const Step> ScreenSteps();
std::span<const Step> GeometrySteps();
std::span<const Step> HistogramSteps();
std::span<const Step> FilterSteps();
std::span<const Step> FrequencySteps();

}  // namespace rastelo::tools

#endif  // RASTELO_TOOLS_STEP_FAMILIES_H
