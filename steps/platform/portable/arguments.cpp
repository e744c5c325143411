#include "steps/platform/arguments.h"

std::vector<std::string> rastelo::steps::platform::Arguments(int argc, char** argv) {
  return {argv, argv + argc};
}
