#include "testing/test_device.h"

TestDevice::TestDevice(int width, int height) : width_(width), height_(height) {
  auto* device = new rastelo::MemoryDeviceContext(width, height);
  surface_ = device->Surface();
  handle_ = device;
}

TestDevice::~TestDevice() { delete handle_; }

const unsigned char* TestDevice::Surface() const { return surface_; }
