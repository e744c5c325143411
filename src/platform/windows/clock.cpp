#include "platform/clock.h"

#include <windows.h>

std::uint32_t rastelo::platform::TickCount() { return GetTickCount(); }
