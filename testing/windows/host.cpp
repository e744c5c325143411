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
