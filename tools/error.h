#pragma once

#include <stdexcept>

namespace rastelo::tools {

/// The command line says something that cannot be done: exit code 2.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Something that the command line asked for did not succeed: exit code 1.
struct OperationError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace rastelo::tools
