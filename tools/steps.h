#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "rastelo.h"
#include "tools/histogram_plot.h"

namespace rastelo::tools {

/// What the steps of one run share: the picture and the screen that it was last drawn on.
struct RunState {
  CRastelo image;
  std::optional<MemoryDeviceContext> screen;
  bool hasVisibleArea = false;        // a one-to-one draw has been made
  std::optional<PlotMark> threshold;  // the last one searched
};

/// Carries a step out. Throws an OperationError that says what failed.
using Action = std::function<void(RunState&)>;

/// One operation as a user writes it: NAME or NAME=ARGUMENT.
struct Step {
  std::string_view name;
  std::string_view argument;  // how it is written, "=" included, in [] if optional; or empty
  std::string_view help;      // one line
  Action (*parse)(const std::string& argument);  // throws a UsageError that says what is expected
};

/// Every step there is.
const std::vector<Step>& Steps();

/// The action of a step as written on the command line, or a UsageError.
Action ParseStep(const std::string& text);

}  // namespace rastelo::tools
