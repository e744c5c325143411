#include "steps/platform/screen.h"

#include <windows.h>

#include <new>

namespace rastelo::steps::platform {

struct Screen::Device {
  Device(int width, int height);
  ~Device();
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;

  HDC context;
  HBITMAP bitmap;
  void* surface = nullptr;
};

Screen::Device::Device(int width, int height) : context(CreateCompatibleDC(nullptr)) {
  BITMAPINFO info{};
  info.bmiHeader = {sizeof info.bmiHeader, width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
  bitmap = CreateDIBSection(context, &info, DIB_RGB_COLORS, &surface, nullptr, 0);
  if (context && bitmap) {
    SelectObject(context, bitmap);
    return;
  }
  DeleteDC(context);
  throw std::bad_alloc();
}

Screen::Device::~Device() {
  DeleteDC(context);  // lets go of the bitmap
  DeleteObject(bitmap);
}

Screen::Screen(int width, int height)
    : width_(width), height_(height), device_(std::make_unique<Device>(width, height)) {}

Screen::~Screen() = default;

HDC Screen::Handle() const { return device_->context; }

// The mode HALFTONE starts its pattern at the origin of the brush, which has to be set behind it.
void Screen::SetStretchMode(int mode) {
  SetStretchBltMode(device_->context, mode);
  if (mode == HALFTONE) SetBrushOrgEx(device_->context, 0, 0, nullptr);
}

const std::uint8_t* Screen::Surface() const {
  GdiFlush();
  return static_cast<const std::uint8_t*>(device_->surface);
}

}  // namespace rastelo::steps::platform
