#pragma once

#include <string>

namespace rastelo::platform {

/// The tail of the last element of `path` from its last dot on, the dot included; empty without
/// one. Both "/" and "\" separate elements.
std::string PathExtension(const char* path);

}  // namespace rastelo::platform
