#include "platform/path.h"

#include <cstdlib>
#include <cstring>

std::string rastelo::platform::PathExtension(const char* path) {
  char extension[_MAX_EXT];
  // The other parts are not asked for, so that their length does not matter.
  if (_splitpath_s(path, nullptr, 0, nullptr, 0, nullptr, 0, extension, sizeof extension) == 0)
    return extension;
  const char* lastDot = std::strrchr(path, '.');  // an extension of more than 255 characters
  return lastDot ? lastDot : "";
}
