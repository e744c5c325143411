#pragma once

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
