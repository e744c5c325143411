#include "platform/file.h"

namespace rastelo::platform {

File::~File() { Close(); }

bool File::ReadAll(void* bytes, std::size_t count) {
  auto* next = static_cast<unsigned char*>(bytes);
  while (count > 0) {
    const std::ptrdiff_t got = Read(next, count);
    if (got <= 0) return false;
    next += got;
    count -= static_cast<std::size_t>(got);
  }
  return true;
}

bool File::WriteAll(const void* bytes, std::size_t count) {
  const auto* next = static_cast<const unsigned char*>(bytes);
  while (count > 0) {
    const std::ptrdiff_t put = Write(next, count);
    if (put <= 0) return false;
    next += put;
    count -= static_cast<std::size_t>(put);
  }
  return true;
}

}  // namespace rastelo::platform
