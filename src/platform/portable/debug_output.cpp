#include "platform/debug_output.h"

#include <utility>

#include "platform/portable/call_host.h"
#include "rastelo_platform.h"

namespace rastelo {

static DebugOutputHook& CurrentHook() {
  static DebugOutputHook hook;
  return hook;
}

void SetDebugOutputHook(DebugOutputHook hook) { CurrentHook() = std::move(hook); }

void platform::SendDebugOutputTo(std::function<void(const char* text)> target) {
  SetDebugOutputHook(std::move(target));
}

void platform::WriteDebugOutput(const char* text) {
  if (CurrentHook()) CallHost([=] { CurrentHook()(text); });
}

}  // namespace rastelo
