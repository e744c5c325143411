// The linker leads the calls below through these functions.
#include "tests/faults.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

constinit thread_local FileFaults fileFaults;
constinit thread_local std::size_t fileBytesRead = 0;

static bool Fails(int& countdown) { return FileFaults::Strikes(countdown) && (errno = EIO) != 0; }

extern "C" {
ssize_t __real_read(int file, void* bytes, size_t count);
ssize_t __wrap_read(int file, void* bytes, size_t count) {
  if (Fails(fileFaults.read)) return -1;
  if (Fails(fileFaults.endOfFile)) return 0;
  const ssize_t got =
      __real_read(file, bytes, fileFaults.shortReads ? std::min<size_t>(count, 7) : count);
  fileBytesRead += got > 0 ? size_t(got) : 0;
  return got;
}
ssize_t __real_write(int file, const void* bytes, size_t count);
ssize_t __wrap_write(int file, const void* bytes, size_t count) {
  return Fails(fileFaults.write) ? -1 : __real_write(file, bytes, count);
}
int __real_fstat(int file, struct stat* status);
int __wrap_fstat(int file, struct stat* status) {
  const bool wasOpen = std::exchange(fileFaults.isOpen, true);
  return Fails(wasOpen ? fileFaults.size : fileFaults.kind) ? -1 : __real_fstat(file, status);
}
int __real_close(int file);
int __wrap_close(int file) { return __real_close(file) | (Fails(fileFaults.close) ? -1 : 0); }
}
