#include "testing/hook_recorder.h"

#include "rastelo_platform.h"

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
