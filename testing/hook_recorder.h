#pragma once

#include <string>
#include <vector>

/// Collects what the library sends to the message box and to the debug output while it lives.
struct HookRecorder {
  HookRecorder();
  ~HookRecorder();
  std::vector<std::string> boxes;  // text, then caption
  std::string trace;
};
