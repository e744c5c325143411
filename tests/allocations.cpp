#include "tests/allocations.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> count = 0;
std::atomic<std::size_t> byteCount = 0;
long failAt = -1;

void* Allocate(std::size_t bytes, std::size_t alignment) {
  if (count++ == failAt) throw std::bad_alloc();
  byteCount += bytes;
  const std::size_t whole = (bytes + alignment - 1) / alignment * alignment;
  if (void* memory = std::aligned_alloc(alignment, whole == 0 ? alignment : whole)) return memory;
  throw std::bad_alloc();
}

constexpr std::size_t kAlignment = alignof(std::max_align_t);

}  // namespace

long allocations::Count() { return count; }
std::size_t allocations::Bytes() { return byteCount; }
allocations::FailAfter::FailAfter(long successes) { failAt = count + successes; }
allocations::FailAfter::~FailAfter() { failAt = -1; }

void* operator new(std::size_t n) { return Allocate(n, kAlignment); }
void* operator new[](std::size_t n) { return Allocate(n, kAlignment); }
void* operator new(std::size_t n, std::align_val_t a) { return Allocate(n, std::size_t(a)); }
void* operator new[](std::size_t n, std::align_val_t a) { return Allocate(n, std::size_t(a)); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
