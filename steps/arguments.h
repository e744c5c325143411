#pragma once

#include <string>
#include <string_view>

#include "steps/step.h"

namespace rastelo::steps {

/// How a step is written, as in "save=FILE[,quality=Q]".
std::string Usage(const Step& step);

/// What an argument may be, as in "a number above 0 and up to 100".
std::string Describe(const Argument& argument);

/// All that a user needs to know of an argument: what it says, what it may be, what it is where it
/// is left out.
std::string Explain(const Argument& argument);

/// Reads what stands behind the "=" of a step, or `nullptr` where there is none. Throws a
/// MissingArgument or another CallError.
Values ReadArguments(const Step& step, const std::string* text);

}  // namespace rastelo::steps
