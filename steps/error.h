#pragma once

#include <stdexcept>
#include <string>

namespace rastelo::steps {

struct Step;

/// What is asked for cannot be done with any picture: a word that is not known, an argument out of
/// its range. The message names the wrong word.
struct CallError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A step lacks an argument that it needs, so its own help is of use.
struct MissingArgument : CallError {
  MissingArgument(const std::string& message, const Step& lacking)
      : CallError(message), step(&lacking) {}
  const Step* step;
};

/// A step cannot be carried out on this picture.
struct StepError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace rastelo::steps
