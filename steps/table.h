#pragma once

#include <span>

#include "steps/step.h"

namespace rastelo::steps {

/// Every step there is, family by family.
std::span<const Step> Steps();

/// The step of this name. Throws a CallError that suggests the nearest name.
const Step& FindStep(std::string_view name);

/// The word of `known` that is the fewest changes of a letter away from `word`, as long as that
/// is a third of its letters or, for short words, two; or nothing.
std::optional<std::string_view> NearestWord(std::string_view word,
                                            std::span<const std::string_view> known);

}  // namespace rastelo::steps
