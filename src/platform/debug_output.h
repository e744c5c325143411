#pragma once

#include <functional>

namespace rastelo::platform {

/// Hands a text to whoever debugs the process. Adds no line end. Cannot fail.
void WriteDebugOutput(const char* text);

/// Hands texts to `target` instead, in code page 936; an empty one brings the default back. Not to
/// be called while another thread uses the library.
void SendDebugOutputTo(std::function<void(const char* text)> target);

}  // namespace rastelo::platform
