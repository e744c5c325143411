#include "tests/faults.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

thread_local long count = 0;
thread_local std::size_t byteCount = 0;
thread_local long failAt = -1;

void* Allocate(std::size_t bytes) {
  if (count++ == failAt) throw std::bad_alloc();
  byteCount += bytes;
  if (void* memory = std::malloc(bytes == 0 ? 1 : bytes)) return memory;
  throw std::bad_alloc();
}

/// Aligned beyond what malloc does; the address that it gave stands ahead of the one handed out.
void* Allocate(std::size_t bytes, std::align_val_t alignment) {
  const auto step = static_cast<std::size_t>(alignment);
  auto* memory = static_cast<unsigned char*>(Allocate(bytes + step));
  unsigned char* aligned = memory + step - reinterpret_cast<std::uintptr_t>(memory) % step;
  std::memcpy(aligned - sizeof memory, &memory, sizeof memory);
  return aligned;
}

void FreeAligned(void* aligned) {
  if (!aligned) return;
  void* memory;
  std::memcpy(&memory, static_cast<unsigned char*>(aligned) - sizeof memory, sizeof memory);
  std::free(memory);
}

}  // namespace

long allocations::Count() { return count; }
std::size_t allocations::Bytes() { return byteCount; }
allocations::FailAfter::FailAfter(long successes) { failAt = count + successes; }
allocations::FailAfter::~FailAfter() { failAt = -1; }

void* operator new(std::size_t n) { return Allocate(n); }
void* operator new[](std::size_t n) { return Allocate(n); }
void* operator new(std::size_t n, std::align_val_t a) { return Allocate(n, a); }
void* operator new[](std::size_t n, std::align_val_t a) { return Allocate(n, a); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { FreeAligned(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { FreeAligned(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { FreeAligned(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
  FreeAligned(memory);
}
