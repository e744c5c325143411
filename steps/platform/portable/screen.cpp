#include "steps/platform/screen.h"

namespace rastelo::steps::platform {

struct Screen::Device : MemoryDeviceContext {
  using MemoryDeviceContext::MemoryDeviceContext;
};

Screen::Screen(int width, int height)
    : width_(width), height_(height), device_(std::make_unique<Device>(width, height)) {}

Screen::~Screen() = default;

HDC Screen::Handle() const { return device_.get(); }

void Screen::SetStretchMode(int mode) { device_->SetStretchBltMode(mode); }

const std::uint8_t* Screen::Surface() const { return device_->Surface(); }

}  // namespace rastelo::steps::platform
