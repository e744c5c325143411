#include "platform/memory.h"

#include <sys/mman.h>

void rastelo::platform::PreferLargePages([[maybe_unused]] void* memory,
                                         [[maybe_unused]] std::size_t bytes) {
#ifdef MADV_HUGEPAGE
  ::madvise(memory, bytes, MADV_HUGEPAGE);
#endif
}
