#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace rastelo::platform {

namespace {
int Descriptor(std::intptr_t handle) { return static_cast<int>(handle); }

/// Calls once more what a signal has interrupted.
template <class Call>
std::ptrdiff_t Uninterrupted(Call call) {
  std::ptrdiff_t result = 0;
  do result = call();
  while (result < 0 && errno == EINTR);
  return result;
}
}  // namespace

// Failures leave the reason in errno, for hosts that want to tell their users.

File File::OpenExisting(const char* path) {
  // Not blocking, so that a pipe without a writer is refused instead of waited for.
  const int descriptor = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return File(kNone);
  struct stat status {};
  const bool known = ::fstat(descriptor, &status) == 0;
  if (known && S_ISREG(status.st_mode)) return File(descriptor);
  ::close(descriptor);
  if (known) errno = S_ISDIR(status.st_mode) ? EISDIR : ENOTSUP;
  return File(kNone);
}

File File::Create(const char* path) {
  // As above; writing itself waits where it has to.
  const int descriptor = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, 0666);
  if (descriptor >= 0) ::fcntl(descriptor, F_SETFL, O_WRONLY);
  return File(descriptor);
}

std::int64_t File::Size() const {
  struct stat status {};
  return ::fstat(Descriptor(handle_), &status) == 0 ? std::int64_t{status.st_size} : -1;
}

std::ptrdiff_t File::Read(void* bytes, std::size_t count) {
  return Uninterrupted([=, this] { return ::read(Descriptor(handle_), bytes, count); });
}

std::ptrdiff_t File::Write(const void* bytes, std::size_t count) {
  return Uninterrupted([=, this] { return ::write(Descriptor(handle_), bytes, count); });
}

bool File::Close() {
  if (handle_ == kNone) return true;
  const int descriptor = Descriptor(handle_);
  handle_ = kNone;
  return ::close(descriptor) == 0;
}

}  // namespace rastelo::platform
