#pragma once

#include <string>
#include <vector>

#include "steps/step.h"

namespace rastelo::steps {

/// A step with its arguments read.
struct Call {
  const Step* step;
  Values values;
  std::string text;  // as written; of a composition, what the user wrote

  /// What the step does with these arguments: one that is given a picture to write saves.
  Effect Does() const;
};

/// Steps that are carried out one after the other. Compositions stand in it as what they are made
/// of.
using Program = std::vector<Call>;

/// Reads steps, each NAME or NAME=ARGUMENTS. Throws a CallError that names the wrong word.
Program ReadProgram(const std::vector<std::string>& words);
/// The same for one text with blanks between the steps. A piece between two quotation marks, " or
/// ', may hold blanks.
Program ReadProgram(std::string_view text);

/// The words of such a text. Throws a CallError for a quotation that does not end.
std::vector<std::string> SplitWords(std::string_view text);

/// The last call whose work nothing behind it saves, prints or shows, or null.
const Call* LastLost(const Program& program);

}  // namespace rastelo::steps
