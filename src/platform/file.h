#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace rastelo::platform {

/// A file that is open as long as this object lives. False when it could not be opened.
class File {
 public:
  /// Opens an existing file for reading; never creates one, and refuses what is no plain file.
  static File OpenExisting(const char* path);
  /// Creates a file for writing, or cuts an existing one to length 0.
  static File Create(const char* path);
  /// Takes over what another call of the system has opened; -1 if it failed.
  static File Adopt(std::intptr_t handle) { return File(handle); }
  ~File();
  File(File&& other) noexcept : handle_(std::exchange(other.handle_, kNone)) {}
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  File& operator=(File&&) = delete;

  explicit operator bool() const { return handle_ != kNone; }
  /// Length in bytes, or -1 if it cannot be told.
  std::int64_t Size() const;
  /// Reads on, up to `count` bytes. @return the number read, 0 at the end, -1 on failure.
  std::ptrdiff_t Read(void* bytes, std::size_t count);
  /// Writes on, up to `count` bytes. @return the number written, -1 on failure.
  std::ptrdiff_t Write(const void* bytes, std::size_t count);
  /// @return whether all `count` bytes were read.
  bool ReadAll(void* bytes, std::size_t count);
  /// @return whether all `count` bytes were written.
  bool WriteAll(const void* bytes, std::size_t count);
  /// Closes ahead of the destructor. @return whether everything written has been taken over.
  bool Close();
  /// The system's own handle, for calls that this class does not have; -1 if there is none.
  std::intptr_t SystemHandle() const { return handle_; }

 private:
  static constexpr std::intptr_t kNone = -1;
  explicit File(std::intptr_t handle) : handle_(handle) {}
  std::intptr_t handle_;
};

}  // namespace rastelo::platform
