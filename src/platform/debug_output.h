#ifndef RASTELO_PLATFORM_DEBUG_OUTPUT_H
#define RASTELO_PLATFORM_DEBUG_OUTPUT_H

namespace rastelo::platform {

/// Hands a text to whoever debugs the process. Adds no line end. Cannot fail.
void WriteDebugOutput(const char* text);

}  // namespace rastelo::platform

#endif  // RASTELO_PLATFORM_DEBUG_OUTPUT_H
