#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "steps/platform/files.h"

// What the functions of files.h need of the system beyond what it offers its users. All throw
// FileError.

namespace rastelo::steps::platform {

using rastelo::platform::File;

inline constexpr const char* kStandsAlready = "it exists already";
inline constexpr const char* kLogIsBusy = "another run is writing it";

/// `count` times `each` nanoseconds; the nearest to them, where there are too many, to which less
/// than `each` can be added.
inline std::int64_t Nanoseconds(std::int64_t count, std::int64_t each) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
  const std::int64_t most = kMost / each - 1;
  return std::clamp(count, -most, most) * each;
}

/// Throws why the system's last call failed.
[[noreturn]] void ThrowLastError();

/// Opens what exists, folders as well, without keeping others from it.
File OpenToRead(const std::string& path);
/// Opens what exists and leaves its content.
File OpenToWrite(const std::string& path);
/// Creates a file for writing. One that exists is an error.
File CreateNew(const std::string& path);
/// Opens or creates a file that this process alone writes, at its end.
File OpenLog(const std::string& path, bool truncate);
/// Whether the last byte of an open log ends a line, or there is none.
bool EndsInLine(File& log);

/// This process's own, closed by itself.
File StandardInput();
File StandardOutput();
/// Waits until a read returns at once, where a signal could not end the wait otherwise.
void AwaitInput(const File& input);

FileInfo InfoOf(const File& file);
/// The path that a write to `path` ends up at.
std::string FollowLinks(const std::string& path);
/// Gives `file`, open at `path`, the permissions of the file that it is to replace, as far as this
/// process may.
void TakePermissions(const File& file, const std::string& path, const std::string& replaced);
void SetTime(const File& file, std::int64_t time);
/// Throws kStandsAlready if the new name has a file, unless that may be replaced.
void Rename(const std::string& from, const std::string& to, bool overwrite);
/// Makes one folder. One that stands there already is an error.
void MakeFolder(const std::string& path);

bool IsSeparator(char byte);
/// How many bytes of a path are its root: the 3 of "C:\", the 1 of "/", 0 without one.
std::size_t RootLength(const std::string& path);

}  // namespace rastelo::steps::platform
