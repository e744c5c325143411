#pragma once

#include <cstdint>

namespace rastelo::platform {

/// Milliseconds since some fixed moment; wraps to 0 after 49.7 days. Cannot fail.
std::uint32_t TickCount();

}  // namespace rastelo::platform
