#include "testing/host.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "testing/windows/imported_call.h"

namespace {

HookRecorder* current = nullptr;

int WINAPI RecordBox(HWND owner, const char* text, const char* caption, UINT style) {
  EXPECT_EQ(owner, nullptr);
  EXPECT_EQ(style, UINT{MB_OK});
  if (current)
    current->boxes.insert(current->boxes.end(), {text, caption});
  else
    ADD_FAILURE() << "a box that would wait for somebody";
  return IDOK;
}

void WINAPI RecordTrace(const char* text) {
  if (current) current->trace += text;
}

[[maybe_unused]] const auto box = ReplaceImportedCall("MessageBoxA", RecordBox);
[[maybe_unused]] const auto trace = ReplaceImportedCall("OutputDebugStringA", RecordTrace);

}  // namespace

HookRecorder::HookRecorder() { current = this; }
HookRecorder::~HookRecorder() { current = nullptr; }

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
