#include "pixels/pixel_store.h"

#include <cstdint>
#include <cstring>
#include <new>

#include "pixels/allocate_array.h"

namespace rastelo {
PixelStore PixelStore::ForOverwrite(std::int32_t width, std::int32_t height, int bitCount) {
  const std::int64_t pitch = Pitch(width, bitCount);
  if (pitch > INT32_MAX || pitch * height > PTRDIFF_MAX) throw std::bad_alloc();
  return {AllocateArray<std::uint8_t>(static_cast<std::size_t>(pitch * height)), width, height,
          static_cast<std::int32_t>(pitch), bitCount};
}

PixelStore PixelStore::Zeroed(std::int32_t width, std::int32_t height, int bitCount) {
  PixelStore store = ForOverwrite(width, height, bitCount);
  std::memset(store.bits.get(), 0, store.Bytes());
  return store;
}

PixelStore PixelStore::Copy() const {
  PixelStore copy = ForOverwrite(width, height, bitCount);
  std::memcpy(copy.bits.get(), bits.get(), Bytes());
  return copy;
}

}  // namespace rastelo
