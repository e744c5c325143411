#pragma once

namespace rastelo::platform {

/// Hands a text to whoever debugs the process. Adds no line end. Cannot fail.
void WriteDebugOutput(const char* text);

}  // namespace rastelo::platform
