#include "platform/debug_output.h"

#include <windows.h>

void rastelo::platform::WriteDebugOutput(const char* text) { OutputDebugStringA(text); }
