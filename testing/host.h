#pragma once

#include <string>
#include <vector>

#include "rastelo_platform.h"

/// Collects what the library sends to the message box and to the debug output while it lives.
struct HookRecorder {
  HookRecorder();
  ~HookRecorder();
  std::vector<std::string> boxes;  // text, then caption
  std::string trace;
};

/// A device of the system's own kind to draw on: what a host hands to the draws. Black at first.
class TestDevice {
 public:
  TestDevice(int width, int height);
  ~TestDevice();
  TestDevice(const TestDevice&) = delete;
  TestDevice& operator=(const TestDevice&) = delete;

  HDC Handle() const { return handle_; }
  int Width() const { return width_; }
  int Height() const { return height_; }
  /// Pixels of 4 bytes, blue, green, red, unused, top row first, as far as they have been drawn.
  const unsigned char* Surface() const;

 private:
  int width_, height_;
  unsigned char* surface_ = nullptr;
  HDC handle_;
};
