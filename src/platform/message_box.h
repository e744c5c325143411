#pragma once

namespace rastelo::platform {

/// Shows a text with a caption, both in code page 936, in a box with one button and no owner.
/// The system's last error stays. Cannot fail.
void ShowMessageBox(const char* text, const char* caption);

}  // namespace rastelo::platform
