#include "platform/file.h"

#include <windows.h>

#include <algorithm>

namespace rastelo::platform {

namespace {

constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;  // calls count in 32 bits

// NOLINTNEXTLINE(performance-no-int-to-ptr): the header of all systems holds a number
HANDLE Handle(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

DWORD Piece(std::size_t count) { return static_cast<DWORD>(std::min(count, kMostAtOnce)); }

std::intptr_t Open(const char* path, DWORD access, DWORD disposition) {
  return reinterpret_cast<std::intptr_t>(
      CreateFileA(path, access, 0, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

}  // namespace

// Failures leave the reason in GetLastError, for hosts that want to tell their users.

File File::OpenExisting(const char* path) {
  const std::intptr_t handle = Open(path, GENERIC_READ, OPEN_EXISTING);
  if (handle == kNone || GetFileType(Handle(handle)) == FILE_TYPE_DISK) return File(handle);
  CloseHandle(Handle(handle));
  SetLastError(ERROR_NOT_SUPPORTED);
  return File(kNone);
}

File File::Create(const char* path) { return File(Open(path, GENERIC_WRITE, CREATE_ALWAYS)); }

std::int64_t File::Size() const {
  DWORD high = 0;
  const DWORD low = GetFileSize(Handle(handle_), &high);
  if (low == INVALID_FILE_SIZE && GetLastError() != NO_ERROR) return -1;
  return std::int64_t{high} << 32 | low;
}

std::ptrdiff_t File::Read(void* bytes, std::size_t count) {
  DWORD got = 0;
  if (!ReadFile(Handle(handle_), bytes, Piece(count), &got, nullptr) &&
      GetLastError() != ERROR_BROKEN_PIPE)  // which is the end of what was written to it
    return -1;
  return static_cast<std::ptrdiff_t>(got);
}

std::ptrdiff_t File::Write(const void* bytes, std::size_t count) {
  DWORD put = 0;
  if (!WriteFile(Handle(handle_), bytes, Piece(count), &put, nullptr)) return -1;
  return static_cast<std::ptrdiff_t>(put);
}

bool File::Close() {
  if (handle_ == kNone) return true;
  const HANDLE handle = Handle(handle_);
  handle_ = kNone;
  return CloseHandle(handle) != 0;
}

}  // namespace rastelo::platform
