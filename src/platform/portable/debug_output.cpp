#include "platform/debug_output.h"

#include <utility>

#include "rastelo_platform.h"

namespace rastelo {

static DebugOutputHook& CurrentHook() {
  static DebugOutputHook hook;
  return hook;
}

void SetDebugOutputHook(DebugOutputHook hook) { CurrentHook() = std::move(hook); }

void platform::WriteDebugOutput(const char* text) {
  if (CurrentHook()) CurrentHook()(text);
}

}  // namespace rastelo
