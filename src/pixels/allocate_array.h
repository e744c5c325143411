#pragma once

#include <cstdint>
#include <memory>
#include <new>

#include "platform/memory.h"

namespace rastelo {

/// An array of any values, aligned for vector loads and, where it is worth it, for large pages.
/// Throws std::bad_alloc.
template <class T>
std::shared_ptr<T[]> AllocateArray(std::size_t count) {
  if (count > PTRDIFF_MAX / sizeof(T)) throw std::bad_alloc();
  const std::size_t bytes = count * sizeof(T);
  const bool large = bytes >= 2 * platform::kLargePageBytes;
  const std::align_val_t alignment{large ? platform::kLargePageBytes : 64};
  void* memory = ::operator new[](bytes, alignment);
  if (large) platform::PreferLargePages(memory, bytes);
  return {static_cast<T*>(memory),
          [alignment](T* array) { ::operator delete[](array, alignment); }};
}

}  // namespace rastelo
