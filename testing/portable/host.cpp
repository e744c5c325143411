#include "testing/host.h"

HookRecorder::HookRecorder() {
  rastelo::SetMessageBoxHook([this](const char* text, const char* caption) {
    boxes.insert(boxes.end(), {text, caption});
  });
  rastelo::SetDebugOutputHook([this](const char* text) { trace += text; });
}

HookRecorder::~HookRecorder() {
  rastelo::SetMessageBoxHook({});
  rastelo::SetDebugOutputHook({});
}

TestDevice::TestDevice(int width, int height) : width_(width), height_(height) {
  auto* device = new rastelo::MemoryDeviceContext(width, height);
  surface_ = device->Surface();
  handle_ = device;
}

TestDevice::~TestDevice() { delete handle_; }

const unsigned char* TestDevice::Surface() const { return surface_; }
