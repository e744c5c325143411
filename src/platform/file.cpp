#include "platform/file.h"

namespace rastelo::platform {

namespace {

/// Calls `move(done)`, which reads or writes on and says how much it did, until `count` are done.
template <class Move>
bool MoveAll(std::size_t count, Move move) {
  for (std::size_t done = 0; done < count;) {
    const std::ptrdiff_t moved = move(done);
    if (moved <= 0) return false;
    done += static_cast<std::size_t>(moved);
  }
  return true;
}

}  // namespace

File::~File() { Close(); }

bool File::ReadAll(void* bytes, std::size_t count) {
  auto* first = static_cast<unsigned char*>(bytes);
  return MoveAll(count, [&](std::size_t done) { return Read(first + done, count - done); });
}

bool File::WriteAll(const void* bytes, std::size_t count) {
  const auto* first = static_cast<const unsigned char*>(bytes);
  return MoveAll(count, [&](std::size_t done) { return Write(first + done, count - done); });
}

}  // namespace rastelo::platform
