#include "platform/path.h"

std::string rastelo::platform::PathExtension(const char* path) {
  const std::string whole = path;
  const std::size_t last = whole.find_last_of("/\\.");
  return last != std::string::npos && whole[last] == '.' ? whole.substr(last) : std::string();
}
