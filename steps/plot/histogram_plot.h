#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "histogram/histogram.h"
#include "pixels/pixel_store.h"

namespace rastelo::steps {

using Colour = std::array<std::uint8_t, 3>;  // blue, green, red

/// The counts of one plane.
struct PlotCurve {
  std::string name;
  Colour colour;
  Histogram counts;
};

/// A level with a line of its own.
struct PlotMark {
  std::string name;
  int level = 0;
};

struct HistogramPlot {
  std::string title;
  std::vector<PlotCurve> curves;
  std::optional<PlotMark> mark;
};

/// The plot as a picture of 24 bits: levels across, pixels upwards from 0 to a round number.
PixelStore DrawHistogram(const HistogramPlot& plot);

}  // namespace rastelo::steps
