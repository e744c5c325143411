#include "platform/memory.h"

// The system gives large pages only to processes that hold a privilege for it.
void rastelo::platform::PreferLargePages(void* /*memory*/, std::size_t /*bytes*/) {}
