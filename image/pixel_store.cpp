#include "image/pixel_store.h"

#include <cstdint>
#include <cstring>
#include <new>

#include "platform/memory.h"

namespace rastelo {
namespace {

/// Memory for a store, aligned for vector loads and, where it is worth it, for large pages.
std::shared_ptr<std::uint8_t[]> AllocatePixels(std::size_t bytes) {
  const bool large = bytes >= 2 * platform::kLargePageBytes;
  const std::align_val_t alignment{large ? platform::kLargePageBytes : 64};
  void* memory = ::operator new[](bytes, alignment);
  if (large) platform::PreferLargePages(memory, bytes);
  return {static_cast<std::uint8_t*>(memory),
          [alignment](std::uint8_t* bits) { ::operator delete[](bits, alignment); }};
}

}  // namespace

PixelStore PixelStore::ForOverwrite(std::int32_t width, std::int32_t height, int bitCount) {
  const std::int64_t pitch = Pitch(width, bitCount);
  if (pitch > INT32_MAX || pitch * height > PTRDIFF_MAX) throw std::bad_alloc();
  PixelStore store;
  store.width = width;
  store.height = height;
  store.pitch = static_cast<std::int32_t>(pitch);
  store.bitCount = bitCount;
  store.bits = AllocatePixels(store.Bytes());
  return store;
}

PixelStore PixelStore::Zeroed(std::int32_t width, std::int32_t height, int bitCount) {
  PixelStore store = ForOverwrite(width, height, bitCount);
  std::memset(store.bits.get(), 0, store.Bytes());
  return store;
}

PixelStore PixelStore::Clone() const {
  PixelStore copy = ForOverwrite(width, height, bitCount);
  std::memcpy(copy.bits.get(), bits.get(), Bytes());
  return copy;
}

}  // namespace rastelo
