#include "platform/clock.h"

#include <chrono>

std::uint32_t rastelo::platform::TickCount() {
  const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint32_t>(sinceStart / std::chrono::milliseconds(1));
}
