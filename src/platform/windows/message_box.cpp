#include "platform/message_box.h"

#include <windows.h>

// The bytes go out as they are: they read well where the system's own code page is 936.
void rastelo::platform::ShowMessageBox(const char* text, const char* caption) {
  MessageBoxA(nullptr, text, caption, MB_OK);
}
