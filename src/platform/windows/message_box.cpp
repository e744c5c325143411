#include "platform/message_box.h"

#include <windows.h>

// The bytes go out as they are: they read well where the system's own code page is 936.
void rastelo::platform::ShowMessageBox(const char* text, const char* caption) {
  const DWORD reason = GetLastError();  // why a file could not be opened, for the host
  MessageBoxA(nullptr, text, caption, MB_OK);
  SetLastError(reason);
}
