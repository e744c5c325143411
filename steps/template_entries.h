#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace rastelo::steps {

/// The numbers of a square with odd sides, row by row, the lowest first.
struct Template {
  std::vector<double> values;
  int size = 0;  // of a side
};

inline constexpr std::array<std::string_view, 5> kTemplateNames = {"mean", "gauss", "sharpen",
                                                                   "laplace", "emboss"};

/// The template of one of these names, or the one whose numbers, with white space between them, are
/// in a file of another name. Throws a StepError that says what is wrong with the file.
Template FindTemplate(const std::string& name);

}  // namespace rastelo::steps
