#pragma once

#include <string>

#include "steps/step.h"

namespace rastelo::steps {

/// All that a user may want to know of a step, in lines of at most 80 columns; only its example may
/// be longer.
std::string HelpOf(const Step& step);

/// What each step does, family by family, in lines of at most 80 columns.
std::string ListOfSteps();

/// The same with all fields, for pages: Markdown.
std::string ReferenceOfSteps();

/// A text in lines of at most `width` columns, all but the first behind `indent` blanks.
std::string Wrapped(std::string_view text, std::size_t width, std::size_t indent);

}  // namespace rastelo::steps
