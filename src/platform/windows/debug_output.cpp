#include "platform/debug_output.h"

#include <windows.h>

#include <utility>

namespace rastelo::platform {

namespace {
std::function<void(const char*)>& Target() {
  static std::function<void(const char*)> target;
  return target;
}
}  // namespace

void SendDebugOutputTo(std::function<void(const char* text)> target) {
  Target() = std::move(target);
}

void WriteDebugOutput(const char* text) {
  if (Target())
    Target()(text);
  else
    OutputDebugStringA(text);
}

}  // namespace rastelo::platform
