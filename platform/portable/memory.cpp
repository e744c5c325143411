#include "platform/memory.h"

#include <sys/mman.h>

void rastelo::platform::PreferLargePages(void* memory, std::size_t bytes) {
#ifdef MADV_HUGEPAGE
  ::madvise(memory, bytes, MADV_HUGEPAGE);
#else
  static_cast<void>(memory), static_cast<void>(bytes);
#endif
}
