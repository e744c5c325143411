#include "testing/host.h"

TestDevice::TestDevice(int width, int height)
    : width_(width), height_(height), handle_(CreateCompatibleDC(nullptr)) {
  BITMAPINFO info{};
  info.bmiHeader = {sizeof info.bmiHeader, width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
  void* surface = nullptr;
  SelectObject(handle_, CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &surface, nullptr, 0));
  surface_ = static_cast<unsigned char*>(surface);
}

TestDevice::~TestDevice() {
  HGDIOBJ bitmap = GetCurrentObject(handle_, OBJ_BITMAP);
  DeleteDC(handle_);
  DeleteObject(bitmap);
}

const unsigned char* TestDevice::Surface() const {
  GdiFlush();
  return surface_;
}
