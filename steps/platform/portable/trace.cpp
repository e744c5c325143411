#include "steps/platform/trace.h"

#include <utility>

#include "platform/debug_output.h"
#include "rastelo.h"

void rastelo::steps::platform::SendTraceTo(std::function<void(std::string_view text)> target) {
  rastelo::platform::SendDebugOutputTo(
      [target = std::move(target)](const char* text) { target(Utf8FromCodePage936(text)); });
}
